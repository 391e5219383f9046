// What the agent keeps per connection: a client's candidate and watches, a data connection's session.
#ifndef GW_AGENT_SESSION_H
#define GW_AGENT_SESSION_H

#include <cstdint>

#include "agent/model/handles.h"
#include "agent/model/paths.h"
#include "agent/request.h"
#include "protocol/data.h"
#include "protocol/hello.h"

namespace agent {

struct DataSession {
    bool open = false;
    proto::Database database = proto::Database::running;
    model::Snapshot tree; // running: as it was at the start. operational: likewise, to see what was changed.
    model::Base base;     // cd and namespace
    bool changed = false; // operational: a value was written
};

struct Session {
    proto::Role role = proto::Role::client;
    bool has_candidate = false;
    model::Tree candidate;
    model::Snapshot base;    // the running tree that the candidate was made from
    std::uint64_t edits = 0; // grows with every change of the candidate
    std::uint32_t watch = 0; // proto::watch_*
    std::size_t waiting = 0; // requests that are not answered yet
    DataSession data;
};

inline constexpr std::size_t max_waiting = 64;

// The same changes made to another tree. False with *error set when both sides touched the same node, or one of them
// what the other removed: nobody can say which is meant.
bool rebase(const model::Models &models, const lyd_node *base, const lyd_node *candidate, const lyd_node *onto,
            model::Tree *result, proto::Error *error);

// Makes the session's candidate if there is none, and moves it onto the running configuration if that has changed
// since. False when the two contradict each other; the candidate is then as it was.
bool refresh_candidate(const Agent &agent, Session &session, proto::Error *error);
void drop_candidate(Session &session);

} // namespace agent

#endif
