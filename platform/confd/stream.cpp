#include "platform/confd/stream.h"

#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>

#include "confd.h"
#include "platform/confd/errors.h"
#include "protocol/wire.h"

namespace confd {

namespace {

// Any number but 0 will do: a connection carries one request at a time, the id only shows that an answer is its own.
std::uint32_t next_id()
{
    static std::atomic<std::uint32_t> last{0};
    const std::uint32_t id = last.fetch_add(1, std::memory_order_relaxed) + 1;
    return id != 0 ? id : last.fetch_add(1, std::memory_order_relaxed) + 1;
}

bool wait_for(int sock, short events, Deadline deadline)
{
    for (;;) {
        pollfd p = {sock, events, 0};
        const int ready = poll(&p, 1, remaining_ms(deadline));
        if (ready > 0) return true;
        if (ready < 0 && errno == EINTR) continue;
        if (ready == 0) errno = ETIMEDOUT;
        return false;
    }
}

// One of send and recv, whose arguments differ in const only.
template <typename Transfer>
bool transfer_all(int sock, short events, std::size_t size, Deadline deadline, Transfer step)
{
    for (std::size_t done = 0; done < size;) {
        const ssize_t n = step(done);
        if (n > 0) {
            done += static_cast<std::size_t>(n);
        } else if (n == 0) {
            errno = ECONNRESET; // the peer has closed
            return false;
        } else if (errno == EAGAIN) {
            if (!wait_for(sock, events, deadline)) return false;
        } else if (errno != EINTR) {
            return false;
        }
    }
    return true;
}

bool send_all(int sock, std::string_view bytes, Deadline deadline)
{
    return transfer_all(sock, POLLOUT, bytes.size(), deadline, [&](std::size_t done) {
        return send(sock, bytes.data() + done, bytes.size() - done, MSG_DONTWAIT | MSG_NOSIGNAL);
    });
}

bool receive_bytes(int sock, std::size_t size, Deadline deadline, std::string *bytes)
{
    const std::size_t before = bytes->size();
    bytes->resize(before + size);
    return transfer_all(sock, POLLIN, size, deadline, [&](std::size_t done) {
        return recv(sock, bytes->data() + before + done, size - done, MSG_DONTWAIT);
    });
}

// Exactly one frame, so that nothing needs to be kept for the next call.
bool receive_frame(int sock, Deadline deadline, std::string *bytes, proto::Frame *frame)
{
    bytes->clear();
    if (!receive_bytes(sock, proto::length_bytes, deadline, bytes)) return false;
    proto::Reader r = proto::make_reader(*bytes);
    const std::uint32_t length = proto::get_u32(r);
    std::size_t used = 0;
    errno = EBADMSG;
    if (length < proto::header_bytes || length > proto::max_frame) return false;
    if (!receive_bytes(sock, length, deadline, bytes)) return false;
    errno = EBADMSG;
    return proto::next_frame(*bytes, frame, &used) == proto::Parse::complete;
}

Outcome lose(int sock)
{
    fail_errno("connection to the management agent");
    shutdown(sock, SHUT_RDWR); // a late answer must not be taken for that of the next request
    return Outcome::lost;
}

bool start_connect(int sock, const sockaddr *address, socklen_t size, Deadline deadline)
{
    if (connect(sock, address, size) == 0) return true;
    if (errno != EINPROGRESS && errno != EINTR) return false;
    if (!wait_for(sock, POLLOUT, deadline)) return false;
    int error = 0;
    socklen_t error_size = sizeof error;
    if (getsockopt(sock, SOL_SOCKET, SO_ERROR, &error, &error_size) != 0) return false;
    errno = error;
    return error == 0;
}

// Non-blocking for the time being: a listener whose queue is full would otherwise hold the caller for minutes.
bool connect_before(int sock, const sockaddr *address, socklen_t size, Deadline deadline)
{
    const int flags = fcntl(sock, F_GETFL);
    if (flags < 0 || fcntl(sock, F_SETFL, flags | O_NONBLOCK) != 0) return false;
    const bool connected = start_connect(sock, address, size, deadline);
    const int cause = errno;
    fcntl(sock, F_SETFL, flags);
    errno = cause;
    return connected;
}

} // namespace

Deadline in_seconds(int seconds)
{
    return std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
}

int remaining_ms(Deadline deadline)
{
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    return static_cast<int>(std::clamp<std::chrono::milliseconds::rep>(left.count(), 0, INT_MAX));
}

Outcome exchange(int sock, proto::Op op, std::string_view payload, Deadline deadline, std::string *answer)
{
    if (!proto::fits_frame(payload.size())) {
        fail(CONFD_ERR_USAGE, "a request of %zu bytes is too long", payload.size());
        return Outcome::refused;
    }
    const std::uint32_t id = next_id();
    std::string bytes;
    proto::Frame frame;
    if (!send_all(sock, proto::make_frame(op, id, payload), deadline)) return lose(sock);
    if (!receive_frame(sock, deadline, &bytes, &frame)) return lose(sock);
    if (frame.id == id && frame.op == proto::Op::reply) {
        answer->assign(frame.payload);
        return Outcome::answered;
    }
    if (frame.id == id && frame.op == proto::Op::error) {
        fail_answer(frame.payload);
        return Outcome::refused;
    }
    errno = EBADMSG;
    return lose(sock);
}

bool connect_as(int sock, proto::Role role, const sockaddr *address, socklen_t size, Deadline deadline)
{
    if (!connect_before(sock, address, size, deadline)) {
        fail_errno("connect to the management agent");
        return false;
    }
    const int on = 1;
    setsockopt(sock, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    std::string answer;
    if (exchange(sock, proto::Op::hello, hello_payload(role), deadline, &answer) != Outcome::answered) return false;
    proto::HelloReply reply;
    if (decode(answer, &reply) && reply.version == proto::version) return true;
    fail(CONFD_ERR_PROTOCOL, "the agent speaks version %d of the protocol, not %d", reply.version, proto::version);
    return false;
}

std::string hello_payload(proto::Role role)
{
    proto::Hello hello;
    hello.version = proto::version;
    hello.role = role;
    hello.name = program_invocation_short_name;
    hello.pid = static_cast<std::uint32_t>(getpid());
    return encode(hello);
}

} // namespace confd
