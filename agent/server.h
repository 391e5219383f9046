// The listening socket and the connections behind it: frames in, frames out. A peer that sends what is no frame, says
// no hello in time or does not read what it is sent is closed; the others do not notice. One that sends much gets short
// turns between theirs; when it leaves, what it still had waiting is not done.
#ifndef GW_AGENT_SERVER_H
#define GW_AGENT_SERVER_H

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "agent/loop.h"
#include "protocol/frame.h"
#include "protocol/hello.h"

namespace agent {

using PeerId = std::uint64_t; // never used twice; 0 is nobody

inline constexpr std::size_t max_peers = 200;
inline constexpr std::size_t max_queued = 4UL * 1024 * 1024; // bytes waiting for a slow reader before it is closed

struct PeerInfo {
    PeerId id = 0;
    proto::Role role = proto::Role::client;
    std::string name; // printable
    std::uint32_t pid = 0;
    std::chrono::steady_clock::time_point since;
    std::size_t queued = 0; // bytes not read yet
};

// All are called from the loop, never from within a call of this header.
struct ServerEvents {
    std::function<void(const PeerInfo &)> greeted;
    std::function<void(PeerId, const proto::Frame &)> frame; // after greeted; hello frames are not passed on
    std::function<void(PeerId)> gone;                        // only for peers that were greeted
    std::function<bool(PeerId)> dispensable; // a client that loses nothing when it is closed to make room
};

struct ServerState;
struct ServerDelete {
    void operator()(ServerState *state) const;
};
using Server = std::unique_ptr<ServerState, ServerDelete>;

// Listens on 127.0.0.1; null with *error set when it cannot. The loop must outlive it.
Server open_server(const Loop &loop, std::uint16_t port, ServerEvents events, std::string *error);

// False when the peer is gone (or is closed now because it does not read). The payload must fit a frame.
bool send_frame(const Server &server, PeerId peer, proto::Op op, std::uint32_t id, std::string_view payload);
// What is queued is not sent any more.
void close_peer(const Server &server, PeerId peer, const char *why);
std::vector<PeerInfo> peers(const Server &server); // those that were greeted

} // namespace agent

#endif
