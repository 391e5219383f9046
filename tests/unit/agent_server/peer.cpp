#include "peer.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>

#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace test {

namespace {

using Clock = std::chrono::steady_clock;
constexpr std::chrono::seconds patience{10};

// Whatever has arrived becomes messages. False when the agent has closed.
bool receive(Peer &peer)
{
    std::string why;
    if (service::receive_some(&peer.stream, &why) == service::Moved::lost) return false;
    Message message;
    while (service::take_message(&peer.stream, &message) == proto::Parse::complete)
        peer.messages.push_back(message);
    return true;
}

void handle(Application &app, const proto::Deliver &call)
{
    app.got.push_back(call);
    if (app.on_deliver && !app.on_deliver(call)) {
        hang_up(app.peer);
    } else if (call.txid != 0) { // operational changes are not counted
        app.record.last_done = call.index + 1;
        app.record.last_txid = call.txid;
    }
}

// One row at a time, however many are asked for.
proto::DataReplies provided(Application &app, proto::CallData call)
{
    app.calls.push_back(call.call);
    proto::DataReplies replies{{app.provider(call)}};
    if (!call.objects || replies.list[0].keys.empty()) return replies;
    call.call = proto::DataCall::get_object;
    app.calls.push_back(call.call);
    replies.list.push_back(app.provider(call));
    return replies;
}

void answer(Application &app, const Message &message)
{
    proto::Status status;
    if (message.op == proto::Op::deliver) handle(app, decoded<proto::Deliver>(message));
    if (message.op == proto::Op::call_action) status = app.verdicts[decoded<proto::CallAction>(message).point];
    if (message.op == proto::Op::call_validate) {
        app.asked.push_back(decoded<proto::CallValidate>(message).point);
        status = app.verdicts[app.asked.back()];
    }
    std::string payload = proto::encode(status);
    if (message.op == proto::Op::call_data) payload = proto::encode(provided(app, decoded<proto::CallData>(message)));
    send_bytes(app.peer, proto::make_frame(proto::Op::reply, message.id, payload));
}

// Lets the application answer and waits for input of either. False when the peer has been closed; *quiet: nothing came.
bool pump(Peer *peer, Application *app, int ms, bool *quiet = nullptr)
{
    while (app != nullptr && !app->peer.messages.empty()) {
        const Message message = app->peer.messages.front();
        app->peer.messages.pop_front();
        answer(*app, message);
    }
    pollfd fds[] = {
        {peer != nullptr ? peer->stream.socket.fd : -1,    POLLIN, 0},
        {app != nullptr ? app->peer.stream.socket.fd : -1, POLLIN, 0}
    };
    const int ready = poll(fds, 2, ms);
    if (quiet != nullptr) *quiet = ready <= 0;
    if (fds[1].revents != 0 && !receive(app->peer)) hang_up(app->peer);
    return fds[0].revents == 0 || receive(*peer);
}

} // namespace

void hang_up(Peer &peer)
{
    service::close_stream(&peer.stream);
    peer.messages.clear();
}

// Outside a sandbox other tests run at the same time.
std::uint16_t port()
{
    return static_cast<std::uint16_t>(20000 + getpid() % 10000);
}

Peer::Peer(proto::Role role)
{
    connect(*this, role);
}

bool open_socket(Peer &peer)
{
    hang_up(peer);
    return service::connect_stream(&peer.stream, port(), 0) == 0;
}

void connect(Peer &peer, proto::Role role)
{
    ASSERT_TRUE(open_socket(peer));
    const proto::Hello hello{proto::version, role, "test", static_cast<std::uint32_t>(getpid())};
    EXPECT_EQ(ask_for<proto::HelloReply>(peer, proto::Op::hello, hello).version, proto::version);
}

bool send_bytes(Peer &peer, const std::string &bytes)
{
    const ssize_t n =
        ::send(peer.stream.socket.fd, bytes.data(), bytes.size(), MSG_NOSIGNAL); // blocks until all is taken
    return n == static_cast<ssize_t>(bytes.size());
}

std::uint32_t send(Peer &peer, proto::Op op, const Payload &payload)
{
    send_bytes(peer, proto::make_frame(op, ++peer.stream.last_id, payload.bytes));
    return peer.stream.last_id;
}

Message await(Peer &peer, const std::function<bool(const Message &)> &wanted)
{
    const auto end = Clock::now() + patience;
    while (Clock::now() < end) {
        const auto it = std::find_if(peer.messages.begin(), peer.messages.end(), wanted);
        if (it != peer.messages.end()) {
            Message message = std::move(*it);
            peer.messages.erase(it);
            return message;
        }
        if (!pump(&peer, peer.app, 100) && peer.messages.empty()) break;
    }
    return {};
}

proto::Event await_event(Peer &peer)
{
    return decoded<proto::Event>(await(peer, [](const Message &m) { return m.op == proto::Op::event; }));
}

bool is_closed(Peer &peer)
{
    const auto end = Clock::now() + patience;
    while (Clock::now() < end) {
        if (!pump(&peer, nullptr, 100)) return true;
    }
    return false;
}

Message ask(Peer &peer, proto::Op op, const Payload &payload)
{
    const std::uint32_t id = send(peer, op, payload);
    return await(peer, [id](const Message &m) { return m.id == id && m.op >= proto::Op::reply; });
}

proto::Error ask_error(Peer &peer, proto::Op op, const Payload &payload)
{
    const Message message = ask(peer, op, payload);
    EXPECT_EQ(message.op, proto::Op::error);
    return message.op == proto::Op::error ? decoded<proto::Error>(message) : proto::Error{};
}

bool join(Application &app)
{
    connect(app.peer, proto::Role::application);
    return ask(app.peer, proto::Op::register_app, app.record).op == proto::Op::reply;
}

void serve(Application &app, int quiet_ms)
{
    for (bool quiet = false; app.peer.stream.socket.fd >= 0 && !quiet;)
        pump(nullptr, &app, quiet_ms, &quiet);
}

proto::Register tarvod_record(std::uint64_t instance)
{
    constexpr std::uint32_t system = 0x6b64eac0;
    constexpr std::uint8_t values = proto::wants_values;
    proto::Register record;
    record.app = "tarvod";
    record.instance = instance;
    record.subscriptions = {
        {"interface/GigabitEthernet",                       system,     1, values, 0                    },
        {"interface",                                       system,     1, 0x10,   0                    },
        {"ip/dhcp/pool",                                    system,     0, values, 0                    },
        {"ip/dhcp/pool/mac-binding",                        system,     1, values, 0                    },
        {"ip/dhcp/excluded-address/excluded-address-range", system,     1, values, 0                    },
        {"cellular{1}/details",                             0x0c7acb07, 0, values, proto::on_operational},
        {"gw-snmp:snmp",                                    0x51c03854, 0, values, 0                    }
    };
    for (const char *point : {"interface", "netmask", "interface_type", "dhcp_subnet_prefix", "dhcp_excluded_range",
                              "dhcp_mac_binding", "passthrough_feature_disabled", "passthrough_feature_supported"})
        record.validation_points.push_back(std::string("validate_") + point);
    record.action_points = {"clear_counter_action_point"};
    record.callpoints = {
        {"if-mib-interface-stats", 0b111000},
        {"rtm-if",                 0b110   },
        {"dhcp_binding",           0b1100  },
    };
    return record;
}

proto::Words words(const std::string &line)
{
    return line.starts_with('/') ? proto::Words{line} : fakes::words(line);
}

void edit(Peer &client, const std::string &edits)
{
    for (const std::string &line : fakes::words(edits, ';')) {
        const bool remove = line.starts_with('-');
        const Message message = ask(client, proto::Op::edit, proto::Edit{remove, words(line.substr(remove ? 1 : 0))});
        EXPECT_EQ(message.op, proto::Op::reply) << line << ": " << decoded<proto::Error>(message).text;
    }
}

proto::CommitReply commit(Peer &client, const proto::Commit &record)
{
    return ask_for<proto::CommitReply>(client, proto::Op::commit, record);
}

proto::CommitReply change(Peer &client, const std::string &edits)
{
    edit(client, edits);
    return commit(client);
}

std::string value_of(Peer &client, const std::string &line, proto::Source source)
{
    const Message message = ask(client, proto::Op::get, proto::Get{source, true, words(line)});
    if (message.op != proto::Op::reply) return "";
    std::string text; // of the last leaf: on the way to it there are keys
    for (const proto::TreeNode &node : decoded<proto::Tree>(message).nodes) {
        if (node.kind == proto::NodeKind::leaf) text = node.text;
    }
    return text;
}

void AgentTest::SetUp()
{
    char name[] = "/tmp/agent-test-XXXXXX";
    state_dir = mkdtemp(name);
    app.record = tarvod_record(1);
    client.app = &app;
    restart();
    app.got.clear();
}

void AgentTest::TearDown()
{
    stop(SIGKILL);
    std::error_code ignored;
    std::filesystem::remove_all(state_dir, ignored);
}

void AgentTest::start()
{
    const std::string number = std::to_string(port());
    pid = fork();
    if (pid == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        execl(GW_AGENT_EXE, GW_AGENT_EXE, "--models", GW_YANG, "--state", state_dir.c_str(), "--factory", GW_FACTORY,
              "--listen", number.c_str(), static_cast<char *>(nullptr));
        _exit(127);
    }
    const auto end = Clock::now() + patience;
    while (!open_socket(client) && Clock::now() < end)
        usleep(2000);
    connect(client, proto::Role::client);
}

void AgentTest::stop(int signal)
{
    if (pid <= 0) return;
    kill(pid, signal);
    waitpid(pid, nullptr, 0);
    pid = -1;
}

void AgentTest::restart(int signal)
{
    stop(signal);
    start();
    EXPECT_TRUE(join(app));
    serve(app);
}

void AgentTest::new_process()
{
    hang_up(app.peer);
    app.record = tarvod_record(app.record.instance + 1);
}

std::string AgentTest::status(const std::string &name)
{
    for (const proto::Pair &pair : ask_for<proto::Pairs>(client, proto::Op::status).pairs) {
        if (pair.name == name) return pair.value;
    }
    return "?";
}

} // namespace test
