#include "cli/link.h"

#include <arpa/inet.h>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include "cli/signals.h"

namespace cli {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t chunk = 64UL * 1024;

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
    switch (wait_for(link->socket.fd, events, left_ms(deadline))) {
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
    while (!link->out.empty()) {
        const ssize_t sent = send(link->socket.fd, link->out.data(), link->out.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
        if (sent > 0) {
            link->out.erase(0, static_cast<std::size_t>(sent));
        } else if (errno == EAGAIN || errno == EINTR) {
            if (!await(link, POLLOUT, deadline, what, why)) return false;
        } else {
            *why = lost(link, std::strerror(errno), what);
            return false;
        }
    }
    return true;
}

bool fill(Link *link, const Deadline &deadline, std::string_view what, Problem *why)
{
    if (!await(link, POLLIN, deadline, what, why)) return false;
    const std::size_t had = link->in.size();
    link->in.resize(had + chunk);
    const ssize_t got = recv(link->socket.fd, link->in.data() + had, chunk, MSG_DONTWAIT);
    const int fault = got < 0 ? errno : 0;
    link->in.resize(had + (got > 0 ? static_cast<std::size_t>(got) : 0));
    if (got > 0 || fault == EAGAIN || fault == EINTR) return true;
    *why = lost(link, got == 0 ? "it closed the connection" : std::strerror(fault), what);
    return false;
}

struct Received {
    proto::Op op = proto::Op::error;
    std::uint32_t id = 0;
    std::string payload;
};

bool receive(Link *link, const Deadline &deadline, std::string_view what, Received *received, Problem *why)
{
    for (;;) {
        proto::Frame frame;
        std::size_t used = 0;
        switch (proto::next_frame(link->in, &frame, &used)) {
        case proto::Parse::complete:
            *received = {frame.op, frame.id, std::string(frame.payload)};
            link->in.erase(0, used);
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

bool refused(const Received &received, std::string_view what, Problem *why)
{
    if (received.op != proto::Op::error) return false;
    proto::Error error;
    if (!proto::decode(received.payload, &error)) error.text = "refused, for a reason that cannot be read";
    *why = agent_problem(error, what);
    return true;
}

// The agent's answer to the hello, which came in front of the one that is waited for.
bool greeted(Link *link, const Received &received, Problem *why)
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

Descriptor::~Descriptor()
{
    if (fd >= 0) close(fd);
}

bool is_open(const Link &link)
{
    return link.socket.fd >= 0;
}

bool is_alive(const Link &link)
{
    if (!is_open(link)) return false;
    char byte = 0;
    const ssize_t got = recv(link.socket.fd, &byte, 1, MSG_PEEK | MSG_DONTWAIT);
    return got > 0 || (got < 0 && errno == EAGAIN);
}

void close_link(Link *link)
{
    if (is_open(*link)) close(link->socket.fd);
    link->socket.fd = -1;
    link->in.clear();
    link->out.clear();
}

bool open_link(Link *link, Problem *why)
{
    close_link(link);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(link->port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const int one = 1;
    link->socket.fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (link->socket.fd < 0 ||
        connect(link->socket.fd, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0) {
        const std::string reason = std::strerror(errno);
        close_link(link);
        *why =
            failed_problem("unreachable", "cannot reach " + agent_at(*link) + ": " + reason + "; is gw-agent running?");
        return false;
    }
    setsockopt(link->socket.fd, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
    link->hello_id = ++link->last_id;
    const proto::Hello hello{proto::version, proto::Role::client, "gwcli", static_cast<std::uint32_t>(getpid())};
    link->out = proto::make_frame(proto::Op::hello, link->hello_id, proto::encode(hello));
    return true;
}

bool exchange(Link *link, const Question &question, std::string *answer, Problem *why)
{
    if (!fits(question, why)) return false;
    const Deadline deadline = deadline_in(question.timeout_ms);
    const std::uint32_t id = ++link->last_id;
    link->out += proto::make_frame(question.op, id, question.payload);
    if (!flush(link, deadline, question.what, why)) return false;
    for (;;) {
        Received received;
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
        Received received;
        if (!receive(link, {{}, true}, "watch", &received, why)) return false;
        if (received.op != proto::Op::event) continue;
        if (proto::decode(received.payload, event)) return true;
        *why = lost(link, "it sent an event that cannot be read", "watch");
        return false;
    }
}

} // namespace cli
