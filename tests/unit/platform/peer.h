// The agent's end of a connection, played step by step by a test.
#ifndef GW_TESTS_PLATFORM_PEER_H
#define GW_TESTS_PLATFORM_PEER_H

#include <arpa/inet.h>
#include <unistd.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

#include "protocol/frame.h"
#include "protocol/hello.h"

namespace peer {

struct Handle { // closes what it holds
    int fd = -1;
    Handle() = default;
    explicit Handle(int descriptor) : fd(descriptor) {}
    Handle(Handle &&other) noexcept : fd(other.fd) { other.fd = -1; }
    Handle &operator=(Handle &&other) noexcept
    {
        std::swap(fd, other.fd);
        return *this;
    }
    ~Handle()
    {
        if (fd >= 0) close(fd);
    }
};

struct Message {
    proto::Op op = proto::Op::error;
    std::uint32_t id = 0;
    std::string payload;
};

// The agent's address, port and all: each test process has a loopback of its own.
sockaddr_in address();
Handle listen_here();

// All of these fail the test and return something harmless after 5 s.
Handle take_connection(const Handle &listener);
Message read_message(const Handle &connection);
bool sees_end(const Handle &connection);

void send_bytes(const Handle &connection, std::string_view bytes);
void send_message(const Handle &connection, proto::Op op, std::uint32_t id, std::string_view payload);

// Accepts, reads the hello of this role and answers it.
Handle greet(const Handle &listener, proto::Role role);

// Reads a request of this kind and answers it.
Message serve_payload(const Handle &connection, proto::Op op, std::string_view payload);
template <typename Record> Message serve(const Handle &connection, proto::Op op, const Record &record)
{
    return serve_payload(connection, op, encode(record));
}

// How many descriptors this process has open.
int open_descriptors();

} // namespace peer

#endif
