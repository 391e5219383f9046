// The connection to the agent: one request at a time, answers matched by id, every wait bounded.
#ifndef GW_CLI_LINK_H
#define GW_CLI_LINK_H

#include <cstdint>
#include <string>
#include <string_view>

#include "cli/problem.h"
#include "protocol/client.h"
#include "protocol/frame.h"
#include "service/stream.h"

namespace cli {

struct Link {
    service::Stream stream; // the hello travels with the first request
    std::uint16_t port = proto::default_port;
    std::uint32_t hello_id = 0; // not 0 while the hello is unanswered
};

bool is_open(const Link &link);
// Notices a peer that has gone since the last answer.
bool is_alive(const Link &link);
void close_link(Link *link);

// Connects to 127.0.0.1 and queues the hello. False with *why when nobody listens.
bool open_link(Link *link, Problem *why);

struct Question {
    proto::Op op = proto::Op::get;
    std::string payload;
    std::string_view what; // of messages: "show configuration"
    int timeout_ms = 0;    // for sending and for the answer
};

// Sends and waits for the answer's payload. False with *why: refused, too large to send, no answer in time, interrupted
// (see signals.h), or the agent went away; the link is closed only in that last case. Late answers are dropped.
bool exchange(Link *link, const Question &question, std::string *answer, Problem *why);

// Waits for the next event for as long as it takes. False when interrupted or when the agent went away.
bool next_event(Link *link, proto::Event *event, Problem *why);

} // namespace cli

#endif
