// The control connection to the agent: a non-blocking socket with a buffer in each direction.
//
// The main thread owns it. Frames are also sent by other threads, hence the lock: it guards the descriptor, the state
// and the output buffer. The main thread alone changes the first two and reads them without it.
#ifndef GW_PLATFORM_TOLLAN_LINK_H
#define GW_PLATFORM_TOLLAN_LINK_H

#include <cstdint>
#include <mutex>
#include <string>
#include <string_view>

#include "protocol/frame.h"

namespace tollan {

// In the order in which a connection goes through them.
enum class State : std::uint8_t { closed, connecting, greeting, greeted, registering, up };

struct Link {
    std::mutex lock;
    int fd = -1;
    int wake_fd = -1; // eventfd: another thread left output for the loop
    State state = State::closed;
    std::string in;
    std::string out;
};

// Begins to connect: the socket becomes writable when it is done. False when that failed at once.
bool open_link(Link *link);
// True when connecting came to a good end.
bool link_connected(const Link &link);
void set_state(Link *link, State state);
void close_link(Link *link);

// Appends what has arrived to `in`; false when the peer has gone.
bool receive(Link *link);

// Queues a frame and writes what the socket takes.
void post(Link *link, proto::Op op, std::uint32_t id, std::string_view payload);
// The same from any thread and only while `up`. False, with nothing queued, when the link is down or does not keep up.
bool post_if_up(Link *link, proto::Op op, std::string_view payload);
// Writes on; true when something is left for later.
bool flush(Link *link);

} // namespace tollan

#endif
