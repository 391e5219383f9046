// The agent's depth-first answer as a tree that renderers can walk. What was asked for stands inside all its ancestors,
// so that every text and document made of it is complete by itself.
#ifndef GW_CLI_FOREST_H
#define GW_CLI_FOREST_H

#include <string>
#include <string_view>
#include <vector>

#include "protocol/client.h"

namespace cli {

struct Node {
    const proto::TreeNode *data = nullptr; // null at the root; belongs to the proto::Tree, which must live as long
    std::vector<Node> children;
    bool of_parent = false; // an error mark about all of the node it stands in, not about one that is missing there
};

// False when the nodes do not nest or nest deeper than any model does.
bool plant(const proto::Tree &tree, Node *root);

bool is(const Node &node, proto::NodeKind kind);
// Without the module.
std::string_view local_name(const Node &node);
// "container/container" below `root` by local names; null when it is not there.
const Node *find(const Node &root, std::string_view path);
const Node *find_leaf(const Node &parent, std::string_view name);
// Keys of an entry as words: "0/0".
std::vector<std::string> keys_of(const Node &entry);

// What could not be read: a keypath ("/interface-view/brief/GigabitEthernet{0/0}/speed") and the reason.
struct Mark {
    std::string path;
    std::string text;
};

struct Yield {
    std::size_t values = 0; // leaves and leaf-list values; not the keys that only lead to what was asked for
    std::vector<Mark> marks;
};

Yield harvest(const Node &root);

} // namespace cli

#endif
