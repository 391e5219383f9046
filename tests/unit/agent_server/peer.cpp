#include "peer.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <sstream>

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace test {

namespace {

using Clock = std::chrono::steady_clock;
constexpr std::chrono::seconds patience{10};

sockaddr_in loopback(std::uint16_t port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

bool try_connect(int fd, std::uint16_t port)
{
    const sockaddr_in address = loopback(port);
    return ::connect(fd, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0;
}

std::uint16_t free_port()
{
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = loopback(0);
    socklen_t size = sizeof address;
    EXPECT_EQ(bind(fd, reinterpret_cast<sockaddr *>(&address), size), 0);
    getsockname(fd, reinterpret_cast<sockaddr *>(&address), &size);
    close(fd);
    return ntohs(address.sin_port);
}

// Whatever has arrived becomes messages. False when the agent has closed.
bool receive(Peer &peer)
{
    char bytes[65536];
    const ssize_t n = recv(peer.fd, bytes, sizeof bytes, 0);
    if (n <= 0) return n < 0 && errno == EINTR;
    peer.in.append(bytes, static_cast<std::size_t>(n));
    proto::Frame frame;
    std::size_t used = 0;
    std::size_t done = 0;
    while (proto::next_frame(std::string_view(peer.in).substr(done), &frame, &used) == proto::Parse::complete) {
        peer.messages.push_back({frame.op, frame.id, std::string(frame.payload)});
        done += used;
    }
    peer.in.erase(0, done);
    return true;
}

template <typename Record> Record decoded(const Message &message)
{
    Record record;
    EXPECT_TRUE(proto::decode(message.payload, &record));
    return record;
}

void reply(Application &app, const Message &to, const std::string &payload)
{
    send_bytes(app.peer, proto::make_frame(proto::Op::reply, to.id, payload));
}

void answer(Application &app, const Message &message)
{
    if (message.op == proto::Op::deliver) {
        const auto call = decoded<proto::Deliver>(message);
        app.got.push_back(call);
        if (app.on_deliver) app.on_deliver(call);
        if (app.got.size() > app.silent_after) return;
        if (call.txid != 0) { // operational changes are not counted
            app.record.last_done = call.index + 1;
            app.record.last_txid = call.txid;
        }
        reply(app, message, proto::encode(proto::Status{}));
    } else if (message.op == proto::Op::call_validate) {
        app.asked.push_back(decoded<proto::CallValidate>(message).point);
        reply(app, message, proto::encode(app.verdicts[app.asked.back()]));
    } else if (message.op == proto::Op::call_data && app.provider) {
        reply(app, message, proto::encode(app.provider(decoded<proto::CallData>(message))));
    } else if (message.op == proto::Op::call_action) {
        app.asked.push_back(decoded<proto::CallAction>(message).point);
        reply(app, message, proto::encode(app.verdicts[app.asked.back()]));
    }
}

void answer_all(Application &app)
{
    while (!app.peer.messages.empty()) {
        const Message message = app.peer.messages.front();
        app.peer.messages.pop_front();
        answer(app, message);
    }
}

void wait_input(std::vector<pollfd> fds, int ms, std::vector<bool> *ready)
{
    poll(fds.data(), fds.size(), ms);
    for (const pollfd &fd : fds)
        ready->push_back((fd.revents & (POLLIN | POLLHUP | POLLERR)) != 0);
}

} // namespace

void fail_with(const Message &message)
{
    proto::Error error;
    if (message.op == proto::Op::error && proto::decode(message.payload, &error)) {
        ADD_FAILURE() << "refused: " << error.path << ": " << error.text;
    } else {
        ADD_FAILURE() << "no usable reply: operation " << static_cast<int>(message.op);
    }
}

AgentProcess::AgentProcess() : port(free_port())
{
    char name[] = "/tmp/agent-test-XXXXXX";
    state_dir = mkdtemp(name);
}

AgentProcess::~AgentProcess()
{
    stop(*this, SIGKILL);
    std::error_code ignored;
    std::filesystem::remove_all(state_dir, ignored);
}

void start(AgentProcess &agent, const char *kill_at)
{
    stop(agent, SIGKILL);
    agent.pid = fork();
    if (agent.pid == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (kill_at != nullptr) setenv("GW_AGENT_KILL_AT", kill_at, 1);
        const std::string number = std::to_string(agent.port);
        execl(GW_AGENT_EXE, GW_AGENT_EXE, "--models", GW_YANG, "--state", agent.state_dir.c_str(), "--factory",
              GW_FACTORY, "--listen", number.c_str(), static_cast<char *>(nullptr));
        _exit(127);
    }
    const auto end = Clock::now() + patience;
    while (Clock::now() < end && waitpid(agent.pid, nullptr, WNOHANG) == 0) {
        const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        const bool listens = try_connect(fd, agent.port);
        close(fd);
        if (listens) return;
        usleep(2000);
    }
    agent.pid = -1;
}

void stop(AgentProcess &agent, int signal)
{
    if (agent.pid <= 0) return;
    kill(agent.pid, signal);
    wait_end(agent);
}

int wait_end(AgentProcess &agent)
{
    int status = 0;
    waitpid(agent.pid, &status, 0);
    agent.pid = -1;
    return WIFSIGNALED(status) ? WTERMSIG(status) : 0;
}

Peer::~Peer()
{
    hang_up(*this);
}

void hang_up(Peer &peer)
{
    if (peer.fd >= 0) close(peer.fd);
    peer.fd = -1;
    peer.in.clear();
    peer.messages.clear();
}

void open_socket(Peer &peer, const AgentProcess &agent)
{
    hang_up(peer);
    peer.fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    EXPECT_TRUE(try_connect(peer.fd, agent.port));
    const int on = 1;
    setsockopt(peer.fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
}

void connect(Peer &peer, const AgentProcess &agent, proto::Role role, const char *name)
{
    open_socket(peer, agent);
    const proto::Hello hello{proto::version, role, name, static_cast<std::uint32_t>(getpid())};
    EXPECT_EQ(ask_for<proto::HelloReply>(peer, proto::Op::hello, proto::encode(hello)).version, proto::version);
}

bool send_bytes(Peer &peer, const std::string &bytes)
{
    std::size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t n = ::send(peer.fd, bytes.data() + done, bytes.size() - done, MSG_NOSIGNAL);
        if (n < 0) return false;
        done += static_cast<std::size_t>(n);
    }
    return true;
}

std::uint32_t send(Peer &peer, proto::Op op, const std::string &payload)
{
    send_bytes(peer, proto::make_frame(op, ++peer.last_id, payload));
    return peer.last_id;
}

Message await(Peer &peer, const std::function<bool(const Message &)> &wanted, Application *app)
{
    const auto end = Clock::now() + patience;
    while (Clock::now() < end) {
        const auto it = std::find_if(peer.messages.begin(), peer.messages.end(), wanted);
        if (it != peer.messages.end()) {
            Message message = *it;
            peer.messages.erase(it);
            return message;
        }
        std::vector<pollfd> fds = {
            {peer.fd, POLLIN, 0}
        };
        if (app != nullptr && app->peer.fd >= 0) fds.push_back({app->peer.fd, POLLIN, 0});
        std::vector<bool> ready;
        wait_input(fds, 100, &ready);
        if (ready.size() > 1 && ready[1] && !receive(app->peer)) hang_up(app->peer);
        if (app != nullptr) answer_all(*app);
        if (ready[0] && !receive(peer) && peer.messages.empty()) return {};
    }
    return {};
}

bool is_closed(Peer &peer)
{
    const auto end = Clock::now() + patience;
    while (Clock::now() < end) {
        std::vector<bool> ready;
        wait_input(
            {
                {peer.fd, POLLIN, 0}
        },
            100, &ready);
        if (ready[0] && !receive(peer)) return true;
    }
    return false;
}

Message ask(Peer &peer, proto::Op op, const std::string &payload, Application *app)
{
    const std::uint32_t id = send(peer, op, payload);
    return await(
        peer, [id](const Message &m) { return m.id == id && (m.op == proto::Op::reply || m.op == proto::Op::error); },
        app);
}

proto::Error ask_error(Peer &peer, proto::Op op, const std::string &payload, Application *app)
{
    const Message message = ask(peer, op, payload, app);
    EXPECT_EQ(message.op, proto::Op::error);
    return message.op == proto::Op::error && !message.payload.empty() ? decoded<proto::Error>(message) : proto::Error{};
}

bool join(Application &app, const AgentProcess &agent)
{
    connect(app.peer, agent, proto::Role::application, "tarvod");
    const Message message = ask(app.peer, proto::Op::register_app, proto::encode(app.record));
    answer_all(app);
    return message.op == proto::Op::reply;
}

void serve(Application &app, int quiet_ms)
{
    while (app.peer.fd >= 0) {
        std::vector<bool> ready;
        answer_all(app);
        wait_input(
            {
                {app.peer.fd, POLLIN, 0}
        },
            quiet_ms, &ready);
        if (!ready[0]) return;
        if (!receive(app.peer)) hang_up(app.peer);
    }
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
    record.validation_points = {"validate_interface",
                                "validate_netmask",
                                "validate_interface_type",
                                "validate_dhcp_subnet_prefix",
                                "validate_dhcp_excluded_range",
                                "validate_dhcp_mac_binding",
                                "validate_passthrough_feature_disabled",
                                "validate_passthrough_feature_supported"};
    record.action_points = {"clear_counter_action_point"};
    record.callpoints = {
        {"if-mib-interface-stats",          0b111000},
        {"if-mib-interfaces",               0b10    },
        {"rtm-if",                          0b110   },
        {"dhcp_binding",                    0b1100  },
        {"interface_brief_gigabitethernet", 0b1100  },
        {"oper_status",                     0b10    }
    };
    return record;
}

proto::Words words(const std::string &line)
{
    if (!line.empty() && line.front() == '/') return {line};
    std::istringstream in(line);
    proto::Words list;
    for (std::string word; in >> word;)
        list.push_back(word);
    return list;
}

void edit(Peer &client, const std::string &line, bool remove)
{
    const Message message = ask(client, proto::Op::edit, proto::encode(proto::Edit{remove, words(line)}));
    if (message.op != proto::Op::reply) fail_with(message);
}

proto::CommitReply commit(Peer &client, Application *app, const proto::Commit &record)
{
    return ask_for<proto::CommitReply>(client, proto::Op::commit, proto::encode(record), app);
}

std::string value_of(Peer &client, const std::string &line, proto::Source source)
{
    const Message message = ask(client, proto::Op::get, proto::encode(proto::Get{source, true, words(line)}));
    proto::Tree tree;
    if (message.op != proto::Op::reply || !proto::decode(message.payload, &tree) || tree.nodes.empty()) return "";
    return tree.nodes.front().text;
}

} // namespace test
