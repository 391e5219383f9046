#include "unit/cli/fake_agent.h"

#include <gtest/gtest.h>

#include <ostream>

#include "cli/run.h"
#include "fakes/protocol.h"

using fakes::decoded;
using proto::Op;

namespace {

const std::vector<proto::Change> changes = {
    {'+', "/a/l{1}", "",  "" },
    {'~', "/a/m",    "1", "2"},
    {'-', "/a/n",    "x", "" },
};
const proto::Event trap_event = {proto::watch_traps, 1795380078000, "linkDown", {{"ifIndex", "1\n"}}};
const proto::CommitReply done = {proto::Outcome::done, 5, {}};

void serve_all(FakeAgent *agent)
{
    for (;;) {
        const peer::Handle client(accept(agent->listener.fd, nullptr, nullptr));
        if (client.fd < 0 && errno != EAGAIN) return;
        while (const std::optional<peer::Message> message = peer::next_message(client)) {
            const std::lock_guard guard(agent->lock);
            const std::optional<std::string> answer = agent->script(*message);
            if (!answer || send(client.fd, answer->data(), answer->size(), MSG_NOSIGNAL) < 0) break;
        }
    }
}

std::string joined(const proto::Words &words)
{
    std::string text;
    for (const std::string &word : words)
        text += (text.empty() ? "" : "|") + word;
    return text;
}

} // namespace

FakeAgent::FakeAgent(Script answers) : script(std::move(answers))
{
    sockaddr_in address{};
    socklen_t size = sizeof address;
    getsockname(listener.fd, reinterpret_cast<sockaddr *>(&address), &size);
    port = ntohs(address.sin_port);
    thread = std::thread(serve_all, this);
}

FakeAgent::~FakeAgent()
{
    shutdown(listener.fd, SHUT_RDWR);
    thread.join();
}

std::optional<std::string> Gateway::operator()(const peer::Message &frame)
{
    const auto answer = [&](Op op, const auto &record) { return proto::make_frame(op, frame.id, encode(record)); };
    const auto reply = [&](const auto &record) { return answer(Op::reply, record); };
    const auto refusal = [&](Text path, Text text) {
        return answer(Op::error, proto::Error{proto::ErrorCode::refused, path, text});
    };
    const std::string nothing = proto::make_frame(Op::reply, frame.id, "");
    if (frame.op == Op::hello) return reply(proto::HelloReply{proto::version, "test"});
    if (frame.op == Op::status) return reply(proto::Pairs{{{"peer 1", "client\x1b[2J"}}});
    if (frame.op == Op::rollbacks) return reply(proto::Rollbacks{{{1, 17, 1795380077, "before the move"}}});
    if (frame.op == Op::complete) return reply(proto::Candidates{{{"interface", "Ports"}}});
    if (frame.op == Op::diff) return reply(proto::Diff{changes});
    if (frame.op == Op::get) {
        const auto get = decoded<proto::Get>(frame);
        log += "get " + std::to_string(static_cast<int>(get.source)) + (get.with_defaults ? " defaults " : " ") +
               joined(get.path) + "\n";
        return reply(tree);
    }
    if (frame.op == Op::edit) {
        const auto edit = decoded<proto::Edit>(frame);
        log += (edit.remove ? "delete " : "set ") + joined(edit.path) + "\n";
        if (edit.path[0] == "die") return {};
        return edit.path[0] != "bad" ? nothing : refusal("/", "\"bad\" is not known here");
    }
    if (frame.op == Op::commit) {
        const auto commit = decoded<proto::Commit>(frame);
        const std::size_t accepted = commit.accepted.size();
        log += "commit " + std::to_string(commit.confirm_seconds) + " " + commit.comment + " " +
               std::to_string(accepted) + "\n";
        if (!refuse_commit.empty()) return refusal("/ip/dhcp", refuse_commit);
        if (commit.accepted == warnings) return reply(done);
        return reply(proto::CommitReply{proto::Outcome::needs_acceptance, 0, {warnings[accepted]}});
    }
    if (frame.op == Op::load) {
        const auto load = decoded<proto::Load>(frame);
        log += (load.replace ? "replace " : "merge ") + load.json + "\n";
        return nothing;
    }
    if (frame.op == Op::watch) {
        return nothing + proto::make_frame(Op::event, 0, encode(trap_event));
    }
    log += "operation " + std::to_string(static_cast<int>(frame.op)) + "\n";
    const bool decides = frame.op == Op::validate || frame.op == Op::confirm || frame.op == Op::abort_confirmed;
    return decides ? reply(done) : nothing;
}

void PrintTo(const Ran &ran, std::ostream *stream)
{
    *stream << "status " << ran.status << "\n--- out\n" << ran.out << "--- err\n" << ran.err;
}

Ran run_gwcli(const FakeAgent &agent, const std::vector<std::string> &arguments, const std::string &input)
{
    char *out = nullptr;
    char *err = nullptr;
    std::size_t size = 0;
    std::FILE *file = std::tmpfile();
    std::fputs(input.c_str(), file);
    std::rewind(file);
    cli::Cli session;
    session.out = open_memstream(&out, &size);
    session.err = open_memstream(&err, &size);
    session.link.port = agent.port;
    session.timeouts = {300, 600};
    std::unique_lock(agent.lock).unlock(); // what the test wrote is for the script to read, and the other way round
    const int status = cli::run(&session, arguments, file);
    std::unique_lock(agent.lock).unlock();
    for (std::FILE *stream : {session.out, session.err, file})
        std::fclose(stream);
    Ran ran{status, out, err};
    std::free(out);
    std::free(err);
    return ran;
}
