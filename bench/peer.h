// A blocking connection to an agent, for measuring it from outside.
#ifndef GW_BENCH_PEER_H
#define GW_BENCH_PEER_H

#include <cstdint>
#include <string>

#include "protocol/frame.h"
#include "protocol/hello.h"

struct Message {
    proto::Op op = proto::Op::error;
    std::uint32_t id = 0;
    std::string payload;
};

struct Peer {
    int fd = -1;
    std::uint32_t last_id = 0;
    std::string received; // what came beyond the last message
};

// Connects to 127.0.0.1:port and says hello; retries for up to 5 s while nobody listens. Ends the program when it
// fails.
Peer open_peer(std::uint16_t port, proto::Role role);
void send_message(Peer &peer, proto::Op op, std::uint32_t id, const std::string &payload);
// False at the end of the stream.
bool receive_message(Peer &peer, Message *message);
// Sends and waits for the answer; an error answer ends the program with its text.
std::string request(Peer &peer, proto::Op op, const std::string &payload);

#endif
