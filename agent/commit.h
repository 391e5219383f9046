// Commits, one at a time in the order they came: validate against the models, ask the validation points, store, swap,
// deliver, answer. Whatever an application does after the store is a remark, never a failure.
//
// A confirmed commit is kept only when it is confirmed in time; until then no other commit is accepted. confirm.state
// remembers it, so that the time also runs out when the agent was restarted meanwhile.
#ifndef GW_AGENT_COMMIT_H
#define GW_AGENT_COMMIT_H

#include <chrono>
#include <cstdint>
#include <deque>
#include <memory>
#include <vector>

#include "agent/loop.h"
#include "agent/model/deliveries.h"
#include "agent/model/handles.h"
#include "agent/request.h"
#include "protocol/client.h"

namespace agent {

inline constexpr std::uint32_t longest_confirmation = 24 * 60 * 60; // seconds

struct CommitJob {
    Request request;
    bool validate_only = false;
    std::uint64_t restore = 0; // the transaction to go back to, instead of a session's candidate; asks no points
    proto::Commit options;
    model::Tree after;
    std::uint64_t edits = 0; // Session::edits when `after` was taken
    std::vector<model::Check> checks;
    std::size_t next_check = 0;
    std::vector<proto::Remark> warnings;
    bool delivering = false;
    std::uint64_t txid = 0;
};

struct Unconfirmed {
    std::uint64_t txid = 0; // 0: none
    std::uint64_t previous = 0;
    std::chrono::steady_clock::time_point deadline;
    Timer timer; // null until the commit is answered
};

struct Commits {
    std::deque<std::unique_ptr<CommitJob>> queue;
    std::unique_ptr<CommitJob> active;
    Unconfirmed unconfirmed;
};

void queue_commit(Agent &agent, Request request, proto::Commit options, bool validate_only);
void confirm_commit(Agent &agent, Request request);
void abort_commit(Agent &agent, Request request);
// An application has come in step or has gone.
void commit_progress(Agent &agent);
// At the start: goes on waiting for a confirmation, or goes back when its time has passed.
void resume_unconfirmed(Agent &agent);

} // namespace agent

#endif
