// Notifications, traps and commits for the peers that watch them. Traps are kept, up to a number, while nobody is
// connected who sends them on.
#ifndef GW_AGENT_EVENTS_H
#define GW_AGENT_EVENTS_H

#include <cstdint>
#include <deque>

#include "agent/request.h"
#include "protocol/application.h"
#include "protocol/client.h"

struct lyd_node;

namespace agent {

inline constexpr std::size_t max_kept_traps = 64;

struct Events {
    std::deque<proto::Event> kept_traps;
    std::uint64_t dropped_traps = 0;
};

void set_watch(Agent &agent, PeerId peer, std::uint32_t mask);
void notification_came(Agent &agent, const proto::Notify &record);
void trap_came(Agent &agent, const proto::Trap &record);
void committed(Agent &agent, const lyd_node *before, const lyd_node *after);

} // namespace agent

#endif
