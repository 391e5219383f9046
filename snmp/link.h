// The connection to the agent. Nothing here waits: the loop says when the descriptor is ready.
#ifndef GW_SNMP_LINK_H
#define GW_SNMP_LINK_H

#include <chrono>
#include <cstdint>
#include <string_view>

#include "protocol/frame.h"
#include "service/stream.h"
#include "snmp/clock.h"

namespace snmp {

enum class LinkState : std::uint8_t { down, connecting, open };

struct Link {
    std::uint16_t port = proto::default_port; // on 127.0.0.1
    LinkState state = LinkState::down;
    service::Stream stream;
    unsigned unanswered = 0;
    Time wake{}; // down: the next attempt; open with unanswered requests: when the agent is given up
    std::chrono::seconds pause{1};
};

// Connects when it is time to; gives an agent up that does not answer.
void tend_link(Link *link, Time now);
// When tend_link() has something to do.
Time next_wake(const Link &link);
bool wants_to_write(const Link &link);
// Reads and writes what the descriptor is ready for.
void pump_link(Link *link, bool readable, bool writable, Time now);

// Queues a request and returns its id, which no other request of this process has. Only while the link is open.
std::uint32_t send_request(Link *link, proto::Op op, std::string_view payload, Time now);
// False when no whole message is there. What is no frame ends the connection.
bool take_message(Link *link, service::Message *message, Time now);

// The next attempt comes after 1, 2, 4 ... 30 s; after a link that greeted (see link_is_good()), after 1 s again.
void drop_link(Link *link, const char *why, Time now);
void link_is_good(Link *link);

} // namespace snmp

#endif
