// The agent's end of a connection, played step by step by a test. Whatever is waited for fails after 5 s.
#ifndef GW_TESTS_PLATFORM_PEER_H
#define GW_TESTS_PLATFORM_PEER_H

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "fakes/protocol.h"
#include "protocol/frame.h"
#include "protocol/hello.h"

namespace peer {

using fakes::Handle;
using fakes::Message;

// The agent's address, port and all: each test process has a loopback of its own.
inline sockaddr_in address(std::uint16_t port = proto::default_port)
{
    return {AF_INET, htons(port), {htonl(INADDR_LOOPBACK)}, {}};
}

inline Handle listen_here(std::uint16_t port = proto::default_port)
{
    Handle listener(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const int on = 1;
    const timeval patience = {5, 0}; // connections inherit it
    setsockopt(listener.fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    setsockopt(listener.fd, SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    const sockaddr_in here = address(port);
    EXPECT_EQ(bind(listener.fd, reinterpret_cast<const sockaddr *>(&here), sizeof here), 0);
    EXPECT_EQ(listen(listener.fd, 8), 0);
    return listener;
}

// The next message, or nothing when the connection has ended.
inline std::optional<Message> next_message(const Handle &connection)
{
    std::uint32_t size = 0;
    if (recv(connection.fd, &size, sizeof size, MSG_WAITALL) != sizeof size) return {};
    std::string bytes(sizeof size + ntohl(size), '\0');
    bytes.replace(0, sizeof size, reinterpret_cast<const char *>(&size), sizeof size);
    const auto rest = static_cast<ssize_t>(bytes.size() - sizeof size);
    if (recv(connection.fd, bytes.data() + sizeof size, bytes.size() - sizeof size, MSG_WAITALL) != rest) return {};
    proto::Frame frame;
    std::size_t used = 0;
    EXPECT_EQ(proto::next_frame(bytes, &frame, &used), proto::Parse::complete);
    return Message{frame.op, frame.id, std::string(frame.payload)};
}

inline Message read_message(const Handle &connection)
{
    const std::optional<Message> message = next_message(connection);
    EXPECT_TRUE(message) << "the connection ended or nothing came";
    return message.value_or(Message{});
}

inline bool sees_end(const Handle &connection)
{
    char byte = 0;
    const ssize_t got = recv(connection.fd, &byte, 1, 0);
    return got == 0 || (got < 0 && errno != EAGAIN);
}

inline void send_bytes(const Handle &connection, std::string_view bytes)
{
    EXPECT_EQ(send(connection.fd, bytes.data(), bytes.size(), MSG_NOSIGNAL), static_cast<ssize_t>(bytes.size()));
}

inline void send_message(const Handle &connection, proto::Op op, std::uint32_t id, std::string_view payload)
{
    send_bytes(connection, proto::make_frame(op, id, payload));
}

// Reads a request of this kind and answers it.
inline Message serve_payload(const Handle &connection, proto::Op op, std::string_view payload)
{
    Message request = read_message(connection);
    EXPECT_EQ(static_cast<int>(request.op), static_cast<int>(op));
    send_message(connection, proto::Op::reply, request.id, payload);
    return request;
}
template <typename Record> Message serve(const Handle &connection, proto::Op op, const Record &record)
{
    return serve_payload(connection, op, encode(record));
}

inline void refuse(const Handle &connection, proto::ErrorCode code, const std::string &path, const std::string &text)
{
    const std::uint32_t id = read_message(connection).id;
    send_message(connection, proto::Op::error, id, encode(proto::Error{code, path, text}));
}

// Accepts, reads the hello of this role and answers it.
inline Handle greet(const Handle &listener, proto::Role role)
{
    Handle connection(accept4(listener.fd, nullptr, nullptr, SOCK_CLOEXEC));
    const Message first = serve(connection, proto::Op::hello, proto::HelloReply{proto::version, "test"});
    EXPECT_EQ(fakes::decoded<proto::Hello>(first).role, role);
    return connection;
}

} // namespace peer

#endif
