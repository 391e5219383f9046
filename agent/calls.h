// Requests to peers: an id, a timer and what to do with the answer. Nothing waits.
#ifndef GW_AGENT_CALLS_H
#define GW_AGENT_CALLS_H

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>

#include "agent/loop.h"
#include "agent/server.h"
#include "protocol/frame.h"
#include "protocol/hello.h"

namespace agent {

struct Agent;

struct Answer {
    bool ok = false;
    std::string payload; // when ok
    proto::Error error;  // when not
    bool gone = false;   // the connection has ended, whatever the error says: a peer may send any error itself
    bool unsent = false; // the request fits no frame: the peer knows nothing of it
};

using Continue = std::function<void(const Answer &)>;

struct Call {
    PeerId peer = 0;
    Answer on_timer;
    Timer timer;
    Continue then;
};

struct Calls {
    std::map<std::uint32_t, Call> pending;
    std::uint32_t last_id = 0;
};

inline constexpr std::chrono::seconds provider_limit{10};
inline constexpr std::chrono::seconds validation_limit{60};
inline constexpr std::chrono::seconds delivery_limit{120};

// `then` runs once, from the loop, never from within the call: with the answer, or with an error when the peer says
// no, leaves, is not there, or lets `limit` pass.
void call_peer(Agent &agent, PeerId peer, proto::Op op, std::string_view payload, std::chrono::seconds limit,
               Continue then);
// An answer that came; one that nobody waits for any more is dropped.
void take_answer(Agent &agent, PeerId from, const proto::Frame &frame);
void fail_calls_of(Agent &agent, PeerId gone);

} // namespace agent

#endif
