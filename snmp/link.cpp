#include "snmp/link.h"

#include <cerrno>
#include <cstring>
#include <sys/socket.h>

#include <algorithm>

#include "service/log.h"

namespace snmp {

namespace {

constexpr std::chrono::seconds longest_pause{30};
constexpr std::chrono::seconds patience{30}; // beyond the agent's own limits for providers

void open_link(Link *link, Time now)
{
    const int result = service::connect_stream(&link->stream, link->port, SOCK_NONBLOCK);
    link->state = result == 0 ? LinkState::open : LinkState::connecting;
    link->wake = now + patience;
    if (result != 0 && result != EINPROGRESS) drop_link(link, std::strerror(result), now);
}

void end_connecting(Link *link, Time now)
{
    int error = 0;
    socklen_t size = sizeof error;
    getsockopt(link->stream.socket.fd, SOL_SOCKET, SO_ERROR, &error, &size);
    link->state = LinkState::open;
    if (error != 0) drop_link(link, std::strerror(error), now);
}

void flush(Link *link, Time now)
{
    std::string why;
    if (service::send_some(&link->stream, &why) == service::Moved::lost) drop_link(link, why.c_str(), now);
}

void fill(Link *link, Time now)
{
    std::string why;
    if (service::receive_some(&link->stream, &why) == service::Moved::lost) drop_link(link, why.c_str(), now);
}

} // namespace

void drop_link(Link *link, const char *why, Time now)
{
    if (link->state == LinkState::open || link->pause == std::chrono::seconds(1)) {
        service::log(LOG_WARNING, "no agent at 127.0.0.1:%u: %s", link->port, why);
    }
    service::close_stream(&link->stream);
    link->state = LinkState::down;
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
    return link.state == LinkState::connecting || !link.stream.out.empty();
}

void pump_link(Link *link, bool readable, bool writable, Time now)
{
    if (link->state == LinkState::connecting && writable) end_connecting(link, now);
    if (link->state == LinkState::open && readable) fill(link, now);
    if (link->state == LinkState::open && writable && !link->stream.out.empty()) flush(link, now);
}

std::uint32_t send_request(Link *link, proto::Op op, std::string_view payload, Time now)
{
    link->unanswered++;
    link->wake = now + patience;
    return service::queue_request(&link->stream, op, payload);
}

bool take_message(Link *link, service::Message *message, Time now)
{
    const proto::Parse parse = service::take_message(&link->stream, message);
    if (parse == proto::Parse::malformed) drop_link(link, "it sent what is no frame", now);
    if (parse != proto::Parse::complete) return false;
    if (message->id != 0 && link->unanswered > 0) link->unanswered--;
    return true;
}

} // namespace snmp
