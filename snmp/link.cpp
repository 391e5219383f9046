#include "snmp/link.h"

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>

#include "service/log.h"

namespace snmp {

namespace {

constexpr std::chrono::seconds longest_pause{30};
constexpr std::chrono::seconds patience{30}; // beyond the agent's own limits for providers
constexpr std::size_t chunk = 64UL * 1024;

void open_link(Link *link, Time now)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(link->port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    link->socket.fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (link->socket.fd < 0) {
        drop_link(link, std::strerror(errno), now);
        return;
    }
    const int on = 1;
    setsockopt(link->socket.fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    const int result = connect(link->socket.fd, reinterpret_cast<const sockaddr *>(&address), sizeof address);
    link->state = result == 0 ? LinkState::open : LinkState::connecting;
    link->wake = now + patience;
    if (result != 0 && errno != EINPROGRESS) drop_link(link, std::strerror(errno), now);
}

void end_connecting(Link *link, Time now)
{
    int error = 0;
    socklen_t size = sizeof error;
    getsockopt(link->socket.fd, SOL_SOCKET, SO_ERROR, &error, &size);
    link->state = LinkState::open;
    if (error != 0) drop_link(link, std::strerror(error), now);
}

void flush(Link *link, Time now)
{
    const ssize_t sent = send(link->socket.fd, link->out.data(), link->out.size(), MSG_NOSIGNAL);
    if (sent >= 0) {
        link->out.erase(0, static_cast<std::size_t>(sent));
    } else if (errno != EAGAIN && errno != EINTR) {
        drop_link(link, std::strerror(errno), now);
    }
}

void fill(Link *link, Time now)
{
    char bytes[chunk];
    const ssize_t got = recv(link->socket.fd, bytes, sizeof bytes, 0);
    if (got > 0) {
        link->in.append(bytes, static_cast<std::size_t>(got));
    } else if (got == 0 || (errno != EAGAIN && errno != EINTR)) {
        drop_link(link, got == 0 ? "it closed the connection" : std::strerror(errno), now);
    }
}

} // namespace

Descriptor::~Descriptor()
{
    if (fd >= 0) close(fd);
}

void drop_link(Link *link, const char *why, Time now)
{
    if (link->state == LinkState::open || link->pause == std::chrono::seconds(1)) {
        service::log(LOG_WARNING, "no agent at 127.0.0.1:%u: %s", link->port, why);
    }
    if (link->socket.fd >= 0) close(link->socket.fd);
    link->socket.fd = -1;
    link->state = LinkState::down;
    link->in.clear();
    link->out.clear();
    link->unanswered = 0;
    link->wake = now + link->pause;
    link->pause = std::min(link->pause * 2, longest_pause);
}

void link_is_good(Link *link)
{
    link->pause = std::chrono::seconds(1);
}

void tend_link(Link *link, Time now)
{
    if (now < next_wake(*link)) return;
    if (link->state == LinkState::down) {
        open_link(link, now);
    } else {
        drop_link(link, "it does not answer", now);
    }
}

Time next_wake(const Link &link)
{
    return link.state == LinkState::open && link.unanswered == 0 ? never : link.wake;
}

bool wants_to_write(const Link &link)
{
    return link.state == LinkState::connecting || !link.out.empty();
}

void pump_link(Link *link, bool readable, bool writable, Time now)
{
    if (link->state == LinkState::connecting && writable) end_connecting(link, now);
    if (link->state == LinkState::open && readable) fill(link, now);
    if (link->state == LinkState::open && writable && !link->out.empty()) flush(link, now);
}

std::uint32_t send_request(Link *link, proto::Op op, std::string_view payload, Time now)
{
    link->out += proto::make_frame(op, ++link->last_id, payload);
    link->unanswered++;
    link->wake = now + patience;
    return link->last_id;
}

bool take_message(Link *link, Message *message, Time now)
{
    proto::Frame frame;
    std::size_t used = 0;
    switch (proto::next_frame(link->in, &frame, &used)) {
    case proto::Parse::incomplete:
        return false;
    case proto::Parse::malformed:
        drop_link(link, "it sent what is no frame", now);
        return false;
    case proto::Parse::complete:
        break;
    }
    *message = {frame.op, frame.id, std::string(frame.payload)};
    link->in.erase(0, used);
    if (frame.id != 0 && link->unanswered > 0) link->unanswered--;
    return true;
}

} // namespace snmp
