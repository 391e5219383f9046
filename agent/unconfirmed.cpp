#include "agent/unconfirmed.h"

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <ctime>

#include "agent/agent.h"
#include "service/log.h"

namespace agent {

namespace {

constexpr const char *file_name = "confirm.state";
constexpr const char *no_confirmed = "no confirmed commit waits for a confirmation";

void go_back(Agent &agent, Request request, const std::string &why)
{
    const Unconfirmed &waiting = agent.commits.unconfirmed;
    const std::string comment = "transaction " + std::to_string(waiting.txid) + " " + why;
    service::log(LOG_WARNING, "%s: going back to transaction %llu", comment.c_str(),
                 static_cast<unsigned long long>(waiting.previous));
    queue_restore(agent, request, waiting.previous, comment);
}

// The seconds count from now on.
bool remember(const Agent &agent, std::uint64_t txid, std::uint64_t previous, std::uint32_t seconds, std::string *error)
{
    Document document;
    document.stamp = {txid, std::time(nullptr), ""};
    document.text = "previous " + std::to_string(previous) + " seconds " + std::to_string(seconds);
    return replace_file(agent.store.dir, file_name, with_trailer(document), Sync::file, error);
}

void start_time(Agent &agent, std::chrono::milliseconds time)
{
    Unconfirmed &waiting = agent.commits.unconfirmed;
    waiting.deadline = std::chrono::steady_clock::now() + time;
    waiting.timer = start_timer(agent.loop, time, [&agent] { go_back(agent, {}, "was not confirmed in time"); });
}

} // namespace

bool announce_unconfirmed(Agent &agent, std::uint32_t seconds, std::string *error)
{
    return remember(agent, agent.store.last_txid + 1, agent.store.running.stamp.txid, seconds, error);
}

void hold_unconfirmed(Agent &agent, std::uint64_t previous)
{
    agent.commits.unconfirmed.txid = agent.store.running.stamp.txid;
    agent.commits.unconfirmed.previous = previous;
}

void await_confirmation(Agent &agent, std::uint32_t seconds)
{
    const Unconfirmed &waiting = agent.commits.unconfirmed;
    std::string error;
    if (!remember(agent, waiting.txid, waiting.previous, seconds, &error))
        service::log(LOG_ERR, "a restart counts the time from the commit: %s", error.c_str());
    start_time(agent, std::chrono::seconds(seconds));
}

void forget_unconfirmed(Agent &agent)
{
    agent.commits.unconfirmed = {};
    remove_file(agent.store.dir, file_name);
    sync_directory(agent.store.dir);
}

void confirm_commit(Agent &agent, Request request)
{
    const std::uint64_t txid = agent.commits.unconfirmed.txid;
    if (txid == 0) {
        refuse(agent, request, proto::ErrorCode::not_exists, no_confirmed);
        return;
    }
    forget_unconfirmed(agent);
    service::log(LOG_NOTICE, "transaction %llu confirmed", static_cast<unsigned long long>(txid));
    answer(agent, request, proto::encode(proto::CommitReply{proto::Outcome::done, txid, {}}));
}

void abort_commit(Agent &agent, Request request)
{
    if (agent.commits.unconfirmed.txid == 0) {
        refuse(agent, request, proto::ErrorCode::not_exists, no_confirmed);
    } else {
        go_back(agent, request, "was taken back");
    }
}

void resume_unconfirmed(Agent &agent)
{
    Document document;
    std::string why;
    std::uint64_t previous = 0;
    std::int64_t seconds = 0;
    const Found found = read_document(agent.store.dir, file_name, &document, &why);
    if (found == Found::missing) return;
    const bool readable = found == Found::whole &&
                          sscanf(document.text.c_str(), "previous %" SCNu64 " seconds %" SCNd64, // NOLINT(cert-err34-c)
                                 &previous, &seconds) == 2;
    if (!readable || document.stamp.txid != agent.store.running.stamp.txid) {
        forget_unconfirmed(agent);
        return;
    }
    // The clock may have been set meanwhile: never more than the whole time, and none left when it has run back. The
    // file may say any number.
    const std::int64_t whole = std::clamp<std::int64_t>(seconds, 0, longest_confirmation);
    const std::int64_t now = std::time(nullptr);
    const bool is_over = document.stamp.time > now || document.stamp.time < now - whole;
    const std::int64_t left = is_over ? 0 : whole - (now - document.stamp.time);
    service::log(LOG_NOTICE, "transaction %llu still waits for its confirmation",
                 static_cast<unsigned long long>(document.stamp.txid));
    hold_unconfirmed(agent, previous);
    start_time(agent, std::chrono::seconds(left));
}

} // namespace agent
