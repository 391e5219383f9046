// One read from the provider of a callpoint: a list, one of its entries, or the leaves of a container.
#ifndef GW_AGENT_PROVIDER_H
#define GW_AGENT_PROVIDER_H

#include <functional>
#include <string>
#include <vector>

#include "agent/operational.h"

struct lysc_node;

namespace agent {

struct Wanted {
    std::string callpoint;
    const lysc_node *row = nullptr;               // the list, or the container whose leaves are read
    std::vector<std::vector<proto::Value>> outer; // keys of the lists around it, outermost first
    std::vector<std::string> key_texts;           // of one entry, canonical; none: all entries
    std::vector<proto::Value> keys;               // the same as values
    const lysc_node *only = nullptr;              // what is read of the row; null: all of it
};

// `done` gets the entries; or, of a container or with `only`, the nodes without what is around them. What cannot be
// read is an error mark among them.
void ask_provider(Agent &agent, PeerId asker, Wanted wanted, std::function<void(Nodes)> done);

proto::TreeNode error_mark(const std::string &name, const std::string &text);

} // namespace agent

#endif
