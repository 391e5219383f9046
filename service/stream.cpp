#include "service/stream.h"

#include <cerrno>
#include <cstring>

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

namespace service {

namespace {

constexpr std::size_t chunk = 64UL * 1024;

// After a transfer that gave -1.
Moved none_or_lost(std::string *why)
{
    if (errno == EAGAIN || errno == EINTR) return Moved::none;
    *why = std::strerror(errno);
    return Moved::lost;
}

} // namespace

int connect_stream(Stream *stream, std::uint16_t port, int flags)
{
    close_stream(stream);
    const int fd = stream->socket.fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | flags, 0);
    if (fd < 0) return errno;
    const int on = 1;
    setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return connect(fd, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0 ? 0 : errno;
}

void close_stream(Stream *stream)
{
    if (stream->socket.fd >= 0) close(stream->socket.fd);
    stream->socket.fd = -1;
    stream->out.clear();
    stream->in.clear();
}

Moved send_some(Stream *stream, std::string *why)
{
    const ssize_t sent = send(stream->socket.fd, stream->out.data(), stream->out.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    if (sent < 0) return none_or_lost(why);
    stream->out.erase(0, static_cast<std::size_t>(sent));
    return Moved::some;
}

// Through a buffer of its own: room at the end of the input would be filled with zeros first.
Moved receive_some(Stream *stream, std::string *why)
{
    char bytes[chunk];
    const ssize_t got = recv(stream->socket.fd, bytes, sizeof bytes, MSG_DONTWAIT);
    if (got < 0) return none_or_lost(why);
    if (got == 0) {
        *why = "it closed the connection";
        return Moved::lost;
    }
    stream->in.append(bytes, static_cast<std::size_t>(got));
    return Moved::some;
}

std::uint32_t queue_request(Stream *stream, proto::Op op, std::string_view payload)
{
    stream->out += proto::make_frame(op, ++stream->last_id, payload);
    return stream->last_id;
}

proto::Parse take_message(Stream *stream, Message *message)
{
    proto::Frame frame;
    std::size_t used = 0;
    const proto::Parse parse = proto::next_frame(stream->in, &frame, &used);
    if (parse != proto::Parse::complete) return parse;
    *message = {frame.op, frame.id, std::string(frame.payload)};
    stream->in.erase(0, used);
    return parse;
}

} // namespace service
