// Frames over a blocking or non-blocking socket, one request at a time, each step bounded by a deadline and restarted
// after a signal. Keeps nothing between calls.
#ifndef GW_PLATFORM_CONFD_STREAM_H
#define GW_PLATFORM_CONFD_STREAM_H

#include <sys/socket.h>

#include <chrono>
#include <string>
#include <string_view>

#include "protocol/frame.h"
#include "protocol/hello.h"

namespace confd {

using Deadline = std::chrono::steady_clock::time_point;

Deadline in_seconds(int seconds);
// Milliseconds to go, for poll: 0 when the time has come.
int remaining_ms(Deadline deadline);

enum class Outcome {
    answered,
    refused, // the agent says no; the connection is good
    lost,    // the connection is gone or out of step; it was shut down and only start-up on it can help
};

// Everything but `answered` sets confd_errno. *answer gets the reply's payload.
Outcome exchange(int sock, proto::Op op, std::string_view payload, Deadline deadline, std::string *answer);

// Connects and says hello; the descriptor stays the caller's. False with confd_errno set.
bool connect_as(int sock, proto::Role role, const sockaddr *address, socklen_t size, Deadline deadline);

// The first message of every connection.
std::string hello_payload(proto::Role role);

} // namespace confd

#endif
