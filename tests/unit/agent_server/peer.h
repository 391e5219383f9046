// The other side for tests of the agent: a process of the real agent, blocking connections to it, and an application
// that answers from a script.
#ifndef GW_TESTS_AGENT_PEER_H
#define GW_TESTS_AGENT_PEER_H

#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "fakes/protocol.h"
#include "protocol/application.h"
#include "protocol/client.h"
#include "protocol/data.h"
#include "protocol/frame.h"
#include "protocol/hello.h"

namespace test {

using fakes::decoded;
using fakes::Message;

struct Application;

struct Peer {
    Peer() = default;
    explicit Peer(proto::Role role); // connected
    service::Stream stream;
    Application *app = nullptr;  // goes on answering while this one waits
    std::list<Message> messages; // that came and nobody took
};

struct Application {
    Peer peer;
    proto::Register record; // its work, as a library would count it
    std::vector<proto::Deliver> got;
    std::map<std::string, proto::Status> verdicts; // per point, else accepted
    std::vector<std::string> asked;                // points
    std::function<proto::DataReply(const proto::CallData &)> provider;
    std::vector<proto::DataCall> calls;                     // of the provider
    std::function<bool(const proto::Deliver &)> on_deliver; // false: the process ends within the handler
};

// What a request carries: a record, bytes, or nothing.
struct Payload {
    std::string bytes;

    Payload(std::string text = {}) : bytes(std::move(text)) {}
    template <typename Record> Payload(const Record &record) : bytes(proto::encode(record)) {}
};

bool open_socket(Peer &peer);
void connect(Peer &peer, proto::Role role); // says hello
void hang_up(Peer &peer);
bool send_bytes(Peer &peer, const std::string &bytes); // false: the agent has closed
std::uint32_t send(Peer &peer, proto::Op op, const Payload &payload = {});
// The next message that `wanted` accepts. An error with id 0 and an empty payload when the agent closes or nothing
// comes within 10 s.
Message await(Peer &peer, const std::function<bool(const Message &)> &wanted);
proto::Event await_event(Peer &peer);
bool is_closed(Peer &peer); // by the agent, within 10 s

Message ask(Peer &peer, proto::Op op, const Payload &payload = {});
proto::Error ask_error(Peer &peer, proto::Op op, const Payload &payload = {});
// Expects a reply of this kind.
template <typename Reply> Reply ask_for(Peer &peer, proto::Op op, const Payload &payload = {})
{
    const Message message = ask(peer, op, payload);
    if (message.op == proto::Op::reply) return decoded<Reply>(message);
    ADD_FAILURE() << "refused: " << decoded<proto::Error>(message).text;
    return {};
}

// Registers (again) as this process, with the work done so far.
bool join(Application &app);
void serve(Application &app, int quiet_ms = 50);       // until nothing comes for so long
proto::Register tarvod_record(std::uint64_t instance); // all rows, points and callpoints of the models

proto::Words words(const std::string &line);       // split at blanks; a keypath stays whole
void edit(Peer &client, const std::string &edits); // "a 1; -b": sets a and removes b
proto::CommitReply commit(Peer &client, const proto::Commit &record = {});
proto::CommitReply change(Peer &client, const std::string &edits); // both
std::string value_of(Peer &client, const std::string &line, proto::Source source = proto::Source::running);

// A running agent, an application that is in step, and a client.
struct AgentTest : testing::Test {
    std::string state_dir;
    pid_t pid = -1;
    Application app;
    Peer client;

    void SetUp() override;
    void TearDown() override;
    void start(); // until it listens
    void stop(int signal);
    void restart(int signal = SIGKILL); // the application and the client come back too
    void new_process();                 // the application's process ends, and another one is ready to join
    std::string status(const std::string &name);
};

} // namespace test

#endif
