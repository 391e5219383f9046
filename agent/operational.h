// Reads of operational data: stored values, and what providers serve. One provider that fails leaves an error mark in
// its place, not a failed read.
//
// A list is walked with get_next or get_next_object; rows come with get_object, else leaf by leaf. One request at a
// time works on a callpoint, others queue. A walk ends at max_rows or max_walk.
#ifndef GW_AGENT_OPERATIONAL_H
#define GW_AGENT_OPERATIONAL_H

#include <chrono>
#include <deque>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "agent/model/paths.h"
#include "agent/request.h"
#include "protocol/client.h"

namespace agent {

inline constexpr std::size_t max_rows = 2000;
inline constexpr std::chrono::seconds max_walk{30};
inline constexpr std::size_t max_queued_walks = 32;
inline constexpr std::size_t max_queued_of_peer = 8;

struct QueuedWalk {
    PeerId asker = 0;
    std::function<void()> run;
};

// Callpoints that are in use, with what waits for them.
struct Providers {
    std::map<std::string, std::deque<QueuedWalk>> busy;
};

using Nodes = std::vector<proto::TreeNode>;

// `done` runs once, maybe within the call when nothing is asked of a provider.
void read_operational(Agent &agent, PeerId asker, const model::Target &target, std::function<void(Nodes)> done);

} // namespace agent

#endif
