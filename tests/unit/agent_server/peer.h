// The other side for tests of the agent: a process of the real agent, blocking connections to it, and an application
// that answers from a script.
#ifndef GW_TESTS_AGENT_PEER_H
#define GW_TESTS_AGENT_PEER_H

#include <sys/types.h>

#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "protocol/application.h"
#include "protocol/client.h"
#include "protocol/data.h"
#include "protocol/frame.h"
#include "protocol/hello.h"

namespace test {

struct AgentProcess { // ended by its destructor, the state directory with it
    std::string state_dir;
    std::uint16_t port = 0;
    pid_t pid = -1;

    AgentProcess();
    AgentProcess(const AgentProcess &) = delete;
    AgentProcess &operator=(const AgentProcess &) = delete;
    ~AgentProcess();
};

// kill_at: see agent/killpoint.h. Returns when the agent listens, or has ended.
void start(AgentProcess &agent, const char *kill_at = nullptr);
void stop(AgentProcess &agent, int signal);
// Waits for an agent that ends by itself; the signal that ended it, 0 for none.
int wait_end(AgentProcess &agent);

struct Message {
    proto::Op op = proto::Op::error;
    std::uint32_t id = 0;
    std::string payload;
};

struct Peer {
    int fd = -1;
    std::string in;
    std::uint32_t last_id = 0;
    std::deque<Message> messages; // that came and nobody took

    Peer() = default;
    Peer(const Peer &) = delete;
    Peer &operator=(const Peer &) = delete;
    ~Peer();
};

struct Application {
    Peer peer;
    proto::Register record;
    // its work, as a library would count it
    std::vector<proto::Deliver> got;
    std::map<std::string, proto::Status> verdicts; // per validation point, else accepted
    std::vector<std::string> asked;                // validation points
    std::function<proto::DataReply(const proto::CallData &)> provider;
    std::function<void(const proto::Deliver &)> on_deliver; // before it is answered
    std::size_t silent_after = 1000;                        // deliveries that are answered
};

void open_socket(Peer &peer, const AgentProcess &agent);
void connect(Peer &peer, const AgentProcess &agent, proto::Role role, const char *name = "test");
void hang_up(Peer &peer);
bool send_bytes(Peer &peer, const std::string &bytes); // false: the agent has closed
std::uint32_t send(Peer &peer, proto::Op op, const std::string &payload = {});
// The next message that `wanted` accepts, while the application (if any) goes on answering. An error with id 0 and an
// empty payload when the agent closes or nothing comes within 10 s.
Message await(Peer &peer, const std::function<bool(const Message &)> &wanted, Application *app = nullptr);
bool is_closed(Peer &peer); // by the agent, within 10 s

Message ask(Peer &peer, proto::Op op, const std::string &payload = {}, Application *app = nullptr);
// Expects a reply of this kind; a failed expectation otherwise.
template <typename Reply>
Reply ask_for(Peer &peer, proto::Op op, const std::string &payload = {}, Application *app = nullptr);
proto::Error ask_error(Peer &peer, proto::Op op, const std::string &payload = {}, Application *app = nullptr);

// Registers (again) as this process, with the work done so far, and answers until nothing comes for `quiet_ms`.
bool join(Application &app, const AgentProcess &agent);
void serve(Application &app, int quiet_ms = 50);
proto::Register tarvod_record(std::uint64_t instance); // all rows, points and callpoints of the models

proto::Words words(const std::string &line); // split at blanks; a keypath stays whole
void edit(Peer &client, const std::string &line, bool remove = false);
proto::CommitReply commit(Peer &client, Application *app = nullptr, const proto::Commit &record = {});
std::string value_of(Peer &client, const std::string &line, proto::Source source = proto::Source::running);

template <typename Reply> Reply ask_for(Peer &peer, proto::Op op, const std::string &payload, Application *app)
{
    Reply reply;
    const Message message = ask(peer, op, payload, app);
    if (message.op == proto::Op::reply && proto::decode(message.payload, &reply)) return reply;
    extern void fail_with(const Message &);
    fail_with(message);
    return {};
}

} // namespace test

#endif
