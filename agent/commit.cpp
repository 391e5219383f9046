#include "agent/commit.h"

#include <algorithm>

#include "agent/agent.h"
#include "agent/model/edit.h"
#include "agent/model/render.h"
#include "agent/unconfirmed.h"
#include "service/log.h"

namespace agent {

namespace {

constexpr std::size_t max_commits = 64;
constexpr std::int32_t accepted = 0;
constexpr std::int32_t warned = -3;

void start_next(Agent &agent);

void end_job(Agent &agent)
{
    agent.commits.active.reset();
    start_next(agent);
}

void refuse_job(Agent &agent, const proto::Error &error)
{
    refuse(agent, agent.commits.active->request, error);
    end_job(agent);
}

void answer_job(Agent &agent, proto::Outcome outcome, std::vector<proto::Remark> remarks)
{
    const CommitJob &job = *agent.commits.active;
    answer(agent, job.request, proto::encode(proto::CommitReply{outcome, job.txid, std::move(remarks)}));
    end_job(agent);
}

// What becomes the next configuration: the session's candidate, or the one to go back to.
bool take_tree(Agent &agent, CommitJob &job, proto::Error *error)
{
    if (job.restore != 0) {
        Version version;
        if (!read_version(agent.store, version_name(job.restore), &version, &error->text)) return false;
        job.after = model::duplicate(version.tree.get());
        return true;
    }
    Session &session = agent.sessions.at(job.request.peer);
    if (!refresh_candidate(agent, session, error)) return false;
    job.edits = session.edits;
    job.after = model::duplicate(session.candidate.get());
    if (model::validate(*agent.models, &job.after, error)) return true;
    error->code = proto::ErrorCode::refused;
    return false;
}

void deliver(Agent &agent)
{
    agent.commits.active->delivering = true;
    for (auto &[name, app] : agent.applications) {
        app.remarks.clear();
        app.remarks_dropped = 0;
    }
    for (auto &[name, app] : agent.applications)
        pump(agent, app);
    commit_progress(agent);
}

// The session goes on from what it has committed; edits made meanwhile are kept.
void settle_session(Agent &agent, const CommitJob &job)
{
    const auto it = agent.sessions.find(job.request.peer);
    if (job.restore != 0 || it == agent.sessions.end()) return;
    if (it->second.edits == job.edits) {
        drop_candidate(it->second);
    } else {
        it->second.base = agent.store.running.tree;
    }
}

void apply(Agent &agent)
{
    CommitJob &job = *agent.commits.active;
    proto::Error error;
    record_targets(agent);
    const Version before = agent.store.running;
    if (job.options.confirm_seconds != 0 && !announce_unconfirmed(agent, job.options.confirm_seconds, &error.text)) {
        refuse_job(agent, error);
        return;
    }
    if (!commit_version(agent.store, std::move(job.after), job.options.comment, &error.text)) {
        service::log(LOG_ERR, "commit refused: %s", error.text.c_str());
        if (job.options.confirm_seconds != 0) forget_unconfirmed(agent); // its transaction number is free again
        refuse_job(agent, error);
        return;
    }
    job.txid = agent.store.running.stamp.txid;
    if (job.options.confirm_seconds != 0) hold_unconfirmed(agent, before.stamp.txid);
    if (job.restore != 0) forget_unconfirmed(agent);
    settle_session(agent, job);
    service::log(LOG_NOTICE, "transaction %llu committed", static_cast<unsigned long long>(job.txid));
    committed(agent, before.tree.get(), agent.store.running.tree.get());
    deliver(agent);
}

void points_asked(Agent &agent)
{
    CommitJob &job = *agent.commits.active;
    const auto open = std::find_if(job.warnings.begin(), job.warnings.end(), [&job](const proto::Remark &warning) {
        const std::vector<proto::Remark> &yes = job.options.accepted;
        return std::find(yes.begin(), yes.end(), warning) == yes.end();
    });
    if (open != job.warnings.end()) {
        answer_job(agent, proto::Outcome::needs_acceptance, std::move(job.warnings));
    } else if (job.validate_only) {
        answer_job(agent, proto::Outcome::done, std::move(job.warnings));
    } else {
        apply(agent);
    }
}

void ask_next(Agent &agent);

void point_answered(Agent &agent, const Answer &reply)
{
    CommitJob &job = *agent.commits.active;
    const model::Check &check = job.checks[job.next_check++];
    proto::Status status;
    if (!reply.ok) {
        refuse_job(agent, {reply.error.code, check.path, "validation point " + check.point + ": " + reply.error.text});
        return;
    }
    if (!proto::decode(reply.payload, &status)) status = {-1, "the answer of " + check.point + " cannot be read", {}};
    const std::string text = proto::printable(status.text);
    if (status.status == warned) {
        job.warnings.push_back({check.path, text});
    } else if (status.status != accepted) {
        const std::string reason = text.empty() ? "refused by " + check.point : text;
        refuse_job(agent, {proto::ErrorCode::refused, check.path, reason});
        return;
    }
    ask_next(agent);
}

void ask_next(Agent &agent)
{
    const CommitJob &job = *agent.commits.active;
    if (job.next_check == job.checks.size()) {
        points_asked(agent);
        return;
    }
    const model::Check &check = job.checks[job.next_check];
    const PeerId owner = owner_of(agent, model::PointKind::validation, check.point);
    if (owner == 0) {
        refuse_job(agent, {proto::ErrorCode::unavailable, check.path,
                           "nobody answers validation point " + check.point + ": is the application running?"});
        return;
    }
    const proto::CallValidate call{check.point, check.wire_path, check.value};
    call_peer(agent, owner, proto::Op::call_validate, proto::encode(call), validation_limit,
              [&agent](const Answer &reply) { point_answered(agent, reply); });
}

void begin(Agent &agent)
{
    CommitJob &job = *agent.commits.active;
    proto::Error error;
    if (agent.commits.unconfirmed.txid != 0 && job.restore == 0 && !job.validate_only) {
        refuse_job(agent, {proto::ErrorCode::in_use, "",
                           "a confirmed commit waits for its confirmation: confirm it or take it back first"});
        return;
    }
    if (agent.commits.unconfirmed.txid == 0 && job.restore != 0) {
        refuse_job(agent, {proto::ErrorCode::not_exists, "", "it was confirmed or taken back already"});
        return;
    }
    if (!take_tree(agent, job, &error)) {
        if (job.restore != 0) {
            service::log(LOG_ERR, "cannot go back to transaction %llu: %s",
                         static_cast<unsigned long long>(job.restore), error.text.c_str());
            forget_unconfirmed(agent);
        }
        refuse_job(agent, error);
        return;
    }
    const lyd_node *running = agent.store.running.tree.get();
    if (model::identical(running, job.after.get())) {
        answer_job(agent, proto::Outcome::nothing_to_do, {});
        return;
    }
    if (job.restore == 0) job.checks = model::checks(*agent.models, running, job.after.get());
    ask_next(agent);
}

// Somebody who has left before his commit began has not waited for it.
bool is_wanted(const Agent &agent, const CommitJob &job)
{
    return job.restore != 0 || agent.sessions.contains(job.request.peer);
}

void start_next(Agent &agent)
{
    Commits &commits = agent.commits;
    if (commits.active) return;
    while (!commits.queue.empty() && !commits.active) {
        if (is_wanted(agent, *commits.queue.front())) commits.active = std::move(commits.queue.front());
        commits.queue.pop_front();
    }
    if (commits.active) begin(agent);
}

std::vector<proto::Remark> remarks_of(const Agent &agent)
{
    std::vector<proto::Remark> remarks;
    for (const auto &[name, app] : agent.applications) {
        remarks.insert(remarks.end(), app.remarks.begin(), app.remarks.end());
        if (app.remarks_dropped != 0) {
            remarks.push_back(
                {"", name + ": " + std::to_string(app.remarks_dropped) + " earlier remarks are left out"});
        }
        if (app.peer == 0) remarks.push_back({"", name + " is away: it gets the changes when it is back"});
    }
    return remarks;
}

} // namespace

void queue_commit(Agent &agent, Request request, proto::Commit options, bool validate_only)
{
    const auto own = [request](const auto &waiting) { return waiting->request.peer == request.peer; };
    if (std::any_of(agent.commits.queue.begin(), agent.commits.queue.end(), own)) {
        refuse(agent, request, proto::ErrorCode::in_use, "a commit of this connection is waiting already");
        return;
    }
    if (agent.commits.queue.size() >= max_commits) {
        refuse(agent, request, proto::ErrorCode::in_use, "too many commits are waiting");
        return;
    }
    auto job = std::make_unique<CommitJob>();
    job->request = request;
    job->options = std::move(options);
    job->validate_only = validate_only;
    agent.commits.queue.push_back(std::move(job));
    start_next(agent);
}

void queue_restore(Agent &agent, Request request, std::uint64_t txid, const std::string &comment)
{
    auto job = std::make_unique<CommitJob>();
    job->request = request;
    job->restore = txid;
    job->options.comment = comment;
    agent.commits.queue.push_front(std::move(job));
    start_next(agent);
}

void commit_progress(Agent &agent)
{
    const Commits &commits = agent.commits;
    if (!commits.active || !commits.active->delivering) return;
    for (const auto &[name, app] : agent.applications) {
        if (app.peer != 0 && !in_step(agent, app)) return;
    }
    // Confirmed or taken back meanwhile, it is awaited no more.
    if (agent.commits.unconfirmed.txid == commits.active->txid)
        await_confirmation(agent, commits.active->options.confirm_seconds);
    answer_job(agent, proto::Outcome::done, remarks_of(agent));
}

} // namespace agent
