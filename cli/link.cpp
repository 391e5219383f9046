#include "cli/link.h"

#include <cerrno>
#include <chrono>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include "cli/signals.h"

namespace cli {

namespace {

using Clock = std::chrono::steady_clock;

struct Deadline {
    Clock::time_point end;
    bool endless = false;
};

Deadline deadline_in(int ms)
{
    return {Clock::now() + std::chrono::milliseconds(ms), false};
}

int left_ms(const Deadline &deadline)
{
    if (deadline.endless) return -1;
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline.end - Clock::now()).count();
    return left > 0 ? static_cast<int>(left) : 0;
}

std::string agent_at(const Link &link)
{
    return "the agent at 127.0.0.1:" + std::to_string(link.port);
}

Problem lost(Link *link, const std::string &reason, std::string_view what)
{
    close_link(link);
    return failed_problem("lost", "lost " + agent_at(*link) + " before it answered: " + reason, std::string(what));
}

// False with *why when the descriptor does not become ready in time.
bool await(Link *link, short events, const Deadline &deadline, std::string_view what, Problem *why)
{
    switch (wait_for(link->stream.socket.fd, events, left_ms(deadline))) {
    case Wait::ready:
        return true;
    case Wait::interrupted:
        *why = failed_problem("interrupted", "interrupted; the agent may still carry it out", std::string(what));
        return false;
    case Wait::timed_out:
        break;
    }
    *why = failed_problem("timeout", "no answer from " + agent_at(*link) + " in time; it may still carry it out",
                          std::string(what));
    return false;
}

bool flush(Link *link, const Deadline &deadline, std::string_view what, Problem *why)
{
    while (!link->stream.out.empty()) {
        std::string reason;
        switch (service::send_some(&link->stream, &reason)) {
        case service::Moved::some:
            break;
        case service::Moved::none:
            if (!await(link, POLLOUT, deadline, what, why)) return false;
            break;
        case service::Moved::lost:
            *why = lost(link, reason, what);
            return false;
        }
    }
    return true;
}

bool fill(Link *link, const Deadline &deadline, std::string_view what, Problem *why)
{
    if (!await(link, POLLIN, deadline, what, why)) return false;
    std::string reason;
    if (service::receive_some(&link->stream, &reason) != service::Moved::lost) return true;
    *why = lost(link, reason, what);
    return false;
}

bool receive(Link *link, const Deadline &deadline, std::string_view what, service::Message *received, Problem *why)
{
    for (;;) {
        switch (service::take_message(&link->stream, received)) {
        case proto::Parse::complete:
            return true;
        case proto::Parse::malformed:
            *why = lost(link, "it sent what is no frame", what);
            return false;
        case proto::Parse::incomplete:
            break;
        }
        if (!fill(link, deadline, what, why)) return false;
    }
}

bool refused(const service::Message &received, std::string_view what, Problem *why)
{
    if (received.op != proto::Op::error) return false;
    proto::Error error;
    if (!proto::decode(received.payload, &error)) error.text = "refused, for a reason that cannot be read";
    *why = agent_problem(error, what);
    return true;
}

// The agent's answer to the hello, which came in front of the one that is waited for.
bool greeted(Link *link, const service::Message &received, Problem *why)
{
    link->hello_id = 0;
    proto::HelloReply reply;
    bool ok = !refused(received, agent_at(*link), why);
    if (ok && (!proto::decode(received.payload, &reply) || reply.version != proto::version)) {
        *why = failed_problem("version", agent_at(*link) + " speaks protocol version " + std::to_string(reply.version) +
                                             ", this program " + std::to_string(proto::version));
        ok = false;
    }
    if (!ok) close_link(link);
    return ok;
}

bool fits(const Question &question, Problem *why)
{
    if (proto::fits_frame(question.payload.size())) return true;
    *why = failed_problem("too-big",
                          "more than the agent takes in one request (" + std::to_string(proto::max_frame) + " bytes)",
                          std::string(question.what));
    return false;
}

} // namespace

bool is_open(const Link &link)
{
    return link.stream.socket.fd >= 0;
}

bool is_alive(const Link &link)
{
    if (!is_open(link)) return false;
    char byte = 0;
    const ssize_t got = recv(link.stream.socket.fd, &byte, 1, MSG_PEEK | MSG_DONTWAIT);
    return got > 0 || (got < 0 && errno == EAGAIN);
}

void close_link(Link *link)
{
    service::close_stream(&link->stream);
}

bool open_link(Link *link, Problem *why)
{
    const int fault = service::connect_stream(&link->stream, link->port, 0);
    if (fault != 0) {
        close_link(link);
        *why = failed_problem("unreachable", "cannot reach " + agent_at(*link) + ": " + std::strerror(fault) +
                                                 "; is gw-agent running?");
        return false;
    }
    const proto::Hello hello{proto::version, proto::Role::client, "gwcli", static_cast<std::uint32_t>(getpid())};
    link->hello_id = service::queue_request(&link->stream, proto::Op::hello, proto::encode(hello));
    return true;
}

bool exchange(Link *link, const Question &question, std::string *answer, Problem *why)
{
    if (!fits(question, why)) return false;
    const Deadline deadline = deadline_in(question.timeout_ms);
    const std::uint32_t id = service::queue_request(&link->stream, question.op, question.payload);
    if (!flush(link, deadline, question.what, why)) return false;
    for (;;) {
        service::Message received;
        if (!receive(link, deadline, question.what, &received, why)) return false;
        if (link->hello_id != 0 && received.id == link->hello_id) {
            if (!greeted(link, received, why)) return false;
        } else if (received.id == id) {
            if (refused(received, question.what, why)) return false;
            *answer = std::move(received.payload);
            return true;
        }
    }
}

bool next_event(Link *link, proto::Event *event, Problem *why)
{
    for (;;) {
        service::Message received;
        if (!receive(link, {{}, true}, "watch", &received, why)) return false;
        if (received.op != proto::Op::event) continue;
        if (proto::decode(received.payload, event)) return true;
        *why = lost(link, "it sent an event that cannot be read", "watch");
        return false;
    }
}

} // namespace cli
