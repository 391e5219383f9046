#include "bench/peer.h"

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

using namespace proto;

namespace {

[[noreturn]] void fail(const char *what, const std::string &why = {})
{
    std::fprintf(stderr, "agent_bench: %s %s\n", what, why.c_str());
    std::exit(1);
}

bool try_connect(Peer &peer, std::uint16_t port)
{
    peer.fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (connect(peer.fd, reinterpret_cast<sockaddr *>(&address), sizeof address) == 0) return true;
    close(peer.fd);
    return false;
}

} // namespace

Peer open_peer(std::uint16_t port, Role role)
{
    Peer peer;
    for (int tries = 0; !try_connect(peer, port); tries++) {
        if (tries == 500) fail("cannot connect to the agent");
        usleep(10000);
    }
    const int on = 1;
    setsockopt(peer.fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    request(peer, Op::hello, encode(Hello{version, role, "bench", static_cast<std::uint32_t>(getpid())}));
    return peer;
}

void send_message(Peer &peer, Op op, std::uint32_t id, const std::string &payload)
{
    const std::string frame = make_frame(op, id, payload);
    for (std::size_t sent = 0; sent < frame.size();) {
        const ssize_t n = send(peer.fd, frame.data() + sent, frame.size() - sent, MSG_NOSIGNAL);
        if (n <= 0) fail("the agent went away");
        sent += static_cast<std::size_t>(n);
    }
}

bool receive_message(Peer &peer, Message *message)
{
    Frame frame;
    std::size_t used = 0;
    while (next_frame(peer.received, &frame, &used) != Parse::complete) {
        char bytes[65536];
        const ssize_t n = recv(peer.fd, bytes, sizeof bytes, 0);
        if (n <= 0) return false;
        peer.received.append(bytes, static_cast<std::size_t>(n));
    }
    *message = {frame.op, frame.id, std::string(frame.payload)};
    peer.received.erase(0, used);
    return true;
}

std::string request(Peer &peer, Op op, const std::string &payload)
{
    send_message(peer, op, ++peer.last_id, payload);
    Message answer;
    if (!receive_message(peer, &answer)) fail("the agent went away");
    if (answer.op == Op::reply) return answer.payload;
    Error error;
    decode(answer.payload, &error);
    fail(error.path.c_str(), error.text);
}
