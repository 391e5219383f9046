#include "unit/platform/peer.h"

#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>

#include <filesystem>

namespace peer {

namespace {

constexpr int patience_ms = 5000;

bool readable(const Handle &handle)
{
    pollfd p = {handle.fd, POLLIN, 0};
    const bool ready = poll(&p, 1, patience_ms) == 1;
    EXPECT_TRUE(ready) << "nothing came";
    return ready;
}

std::string read_exactly(const Handle &connection, std::size_t size)
{
    std::string bytes(size, '\0');
    for (std::size_t done = 0; done < size;) {
        if (!readable(connection)) return {};
        const ssize_t n = recv(connection.fd, bytes.data() + done, size - done, 0);
        if (n <= 0) {
            ADD_FAILURE() << "the connection ended after " << done << " of " << size << " bytes";
            return {};
        }
        done += static_cast<std::size_t>(n);
    }
    return bytes;
}

} // namespace

sockaddr_in address()
{
    sockaddr_in out = {};
    out.sin_family = AF_INET;
    out.sin_port = htons(proto::default_port);
    out.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return out;
}

Handle listen_here()
{
    Handle listener(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const int on = 1;
    setsockopt(listener.fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    const sockaddr_in here = address();
    EXPECT_EQ(bind(listener.fd, reinterpret_cast<const sockaddr *>(&here), sizeof here), 0);
    EXPECT_EQ(listen(listener.fd, 8), 0);
    return listener;
}

Handle take_connection(const Handle &listener)
{
    return Handle(readable(listener) ? accept4(listener.fd, nullptr, nullptr, SOCK_CLOEXEC) : -1);
}

Message read_message(const Handle &connection)
{
    std::string bytes = read_exactly(connection, proto::length_bytes);
    if (bytes.empty()) return {};
    std::size_t size = 0;
    for (const char c : bytes) {
        size = size << 8 | static_cast<unsigned char>(c);
    }
    bytes += read_exactly(connection, size);
    proto::Frame frame;
    std::size_t used = 0;
    EXPECT_EQ(proto::next_frame(bytes, &frame, &used), proto::Parse::complete);
    return {frame.op, frame.id, std::string(frame.payload)};
}

bool sees_end(const Handle &connection)
{
    char byte = 0;
    return readable(connection) && recv(connection.fd, &byte, 1, 0) <= 0;
}

void send_bytes(const Handle &connection, std::string_view bytes)
{
    EXPECT_EQ(send(connection.fd, bytes.data(), bytes.size(), MSG_NOSIGNAL), static_cast<ssize_t>(bytes.size()));
}

void send_message(const Handle &connection, proto::Op op, std::uint32_t id, std::string_view payload)
{
    send_bytes(connection, proto::make_frame(op, id, payload));
}

Handle greet(const Handle &listener, proto::Role role)
{
    Handle connection = take_connection(listener);
    const Message first = read_message(connection);
    proto::Hello hello;
    EXPECT_TRUE(first.op == proto::Op::hello && decode(first.payload, &hello));
    EXPECT_EQ(hello.role, role);
    send_message(connection, proto::Op::reply, first.id, encode(proto::HelloReply{proto::version, "test"}));
    return connection;
}

Message serve_payload(const Handle &connection, proto::Op op, std::string_view payload)
{
    Message request = read_message(connection);
    EXPECT_EQ(static_cast<int>(request.op), static_cast<int>(op));
    send_message(connection, proto::Op::reply, request.id, payload);
    return request;
}

int open_descriptors()
{
    const std::filesystem::directory_iterator all("/proc/self/fd");
    return static_cast<int>(std::distance(begin(all), end(all)));
}

} // namespace peer
