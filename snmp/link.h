// The connection to the agent. Nothing here waits: the loop says when the descriptor is ready.
#ifndef GW_SNMP_LINK_H
#define GW_SNMP_LINK_H

#include <cstdint>
#include <string>

#include "protocol/frame.h"
#include "snmp/clock.h"

namespace snmp {

struct Descriptor {
    Descriptor() = default;
    explicit Descriptor(int number) : fd(number) {}
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;
    ~Descriptor();

    int fd = -1;
};

enum class LinkState : std::uint8_t { down, connecting, open };

struct Link {
    std::uint16_t port = proto::default_port; // on 127.0.0.1
    LinkState state = LinkState::down;
    Descriptor socket;
    std::string out; // not sent yet
    std::string in;  // received, not taken yet
    std::uint32_t last_id = 0;
    unsigned unanswered = 0;
    Time wake{}; // down: the next attempt; open with unanswered requests: when the agent is given up
    std::chrono::seconds pause{1};
};

struct Message {
    proto::Op op = proto::Op::error;
    std::uint32_t id = 0;
    std::string payload;
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
bool take_message(Link *link, Message *message, Time now);

// The next attempt comes after 1, 2, 4 ... 30 s; after a link that greeted (see link_is_good()), after 1 s again.
void drop_link(Link *link, const char *why, Time now);
void link_is_good(Link *link);

} // namespace snmp

#endif
