// A connection to the agent: what the socket is ready for is sent and received, what came is taken message by message.
// Nothing here waits, but for a connect without SOCK_NONBLOCK.
#ifndef GW_SERVICE_STREAM_H
#define GW_SERVICE_STREAM_H

#include <cstdint>
#include <string>
#include <string_view>

#include "protocol/frame.h"
#include "service/descriptor.h"

namespace service {

struct Stream {
    Descriptor socket;
    std::uint32_t last_id = 0;
    std::string out; // not sent yet
    std::string in;  // received, not taken yet
};

struct Message {
    proto::Op op = proto::Op::error;
    std::uint32_t id = 0;
    std::string payload;
};

// Connects to 127.0.0.1. `flags`: 0, or SOCK_NONBLOCK. 0 or the errno; EINPROGRESS: it goes on.
int connect_stream(Stream *stream, std::uint16_t port, int flags);
// What is queued and what was received are gone. Ids go on.
void close_stream(Stream *stream);

enum class Moved : std::uint8_t { some, none, lost };

// One transfer. none: the socket is not ready. lost: *why tells what ended the connection.
Moved send_some(Stream *stream, std::string *why);
Moved receive_some(Stream *stream, std::string *why);

// Queues a request and returns its id, which no other request of this stream has. The payload must fit a frame.
std::uint32_t queue_request(Stream *stream, proto::Op op, std::string_view payload);
// complete: *message is the first that was received. malformed: the stream can only be closed.
proto::Parse take_message(Stream *stream, Message *message);

} // namespace service

#endif
