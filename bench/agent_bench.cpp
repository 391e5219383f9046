// Measures an agent of its own from outside: commit of one leaf against the same write, fsync, rename and directory
// fsync done by hand, operational reads against a provider that answers from memory, and the bare round trip.
//
// usage: agent_bench [ROUNDS]     works in build/bench-state, on port 4566
//        agent_bench --trips N    prints the median time, in milliseconds, of N bare round trips with the agent of the
//                                 lab that this runs in
#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/tcp.h>
#include <sched.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <thread>
#include <vector>

#include "bench/peer.h"
#include "bench/row.h"
#include "protocol/application.h"
#include "protocol/client.h"

using namespace proto;
namespace fs = std::filesystem;

namespace {

constexpr std::uint16_t port = 4566;
constexpr std::uint32_t if_mib_columns[] = { // the 64-bit and 32-bit counters of a row; any tags of it would do
    0x492ffcdc, 0x763c0f35, 0x742b8a6b, 0x18999a43, 0x5286fbe0, 0x5f7fc5b6, 0x15e3a74a, 0x20406274,
    0x7cd2079c, 0x1e5ea8bc, 0x2eb1f9e2, 0x28367dd6, 0x1cb4aedf, 0x071b082d, 0x0f96951f};
constexpr std::uint32_t if_mib_long_columns[] = {0x3ba680f0, 0x719cc862, 0x21809693, 0x61e6c20b,
                                                 0x7f1b5515, 0x7169a7d9, 0x025c7cd3, 0x64d17eff};
constexpr std::uint32_t if_index_tag = 0x71d6142a;
constexpr std::int64_t rows = 3; // of 24 leaves

using Samples = std::vector<double>;

double time_us(const std::function<void()> &work)
{
    const auto begin = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - begin).count();
}

double median(Samples samples)
{
    std::nth_element(samples.begin(), samples.begin() + static_cast<std::ptrdiff_t>(samples.size() / 2), samples.end());
    return samples[samples.size() / 2];
}

double median_us(int rounds, const std::function<void()> &work)
{
    Samples samples;
    for (int i = 0; i < rounds; i++)
        samples.push_back(time_us(work));
    return median(samples);
}

void print(const char *what, double us, const char *floor, double floor_us)
{
    std::printf("%-44s %9.1f us   %-34s %9.1f us   %5.2f\n", what, us, floor, floor_us, us / floor_us);
}

pid_t start_agent(const fs::path &program, const fs::path &state)
{
    const pid_t pid = fork();
    if (pid != 0) return pid;
    const std::string number = std::to_string(port);
    const int null = open("/dev/null", O_WRONLY | O_CLOEXEC);
    dup2(null, STDERR_FILENO);
    execl(program.c_str(), "gw-agent", "--models", GW_SOURCE_DIR "/yang", "--factory",
          GW_SOURCE_DIR "/agent/factory.json", "--state", state.c_str(), "--listen", number.c_str(), nullptr);
    _exit(127);
}

DataReply row_from_memory(std::int64_t index)
{
    DataReply reply;
    reply.kind = DataKind::next_object;
    if (index > rows) return reply;
    reply.values.push_back({if_index_tag, 0, make_number(ValueType::int32, index)});
    for (const std::uint32_t tag : if_mib_columns) {
        reply.values.push_back({tag, 0, make_number(ValueType::uint32, index)});
    }
    for (const std::uint32_t tag : if_mib_long_columns) {
        reply.values.push_back({tag, 0, make_number(ValueType::uint64, index)});
    }
    return reply;
}

// A subscriber that does nothing and a provider that answers from memory.
void serve(Peer peer)
{
    Register reg;
    reg.app = "bench";
    reg.instance = 1;
    reg.subscriptions = {
        {"interface/GigabitEthernet", 0x6b64eac0, 1, wants_values, 0}
    };
    reg.callpoints = {
        {"if-mib-interface-stats", 1U << static_cast<unsigned>(DataCall::get_next_object) |
                                       1U << static_cast<unsigned>(DataCall::find_next_object)}
    };
    request(peer, Op::register_app, encode(reg));
    Message message;
    while (receive_message(peer, &message)) {
        CallData call;
        if (message.op == Op::deliver) send_message(peer, Op::reply, message.id, encode(Status{}));
        if (message.op != Op::call_data || !decode(message.payload, &call)) continue;
        const std::int64_t wanted = call.call == DataCall::get_next_object ? 1 : call.keys.at(0).number + 1;
        send_message(peer, Op::reply, message.id, encode(DataReplies{{row_from_memory(wanted)}}));
    }
}

void commit_description(Peer &client, int i)
{
    request(client, Op::edit,
            encode(Edit{
                false, {"interface", "GigabitEthernet", "0/0", "description", std::to_string(i)}
    }));
    CommitReply reply;
    decode(request(client, Op::commit, encode(Commit{})), &reply);
    if (reply.outcome != Outcome::done || !reply.remarks.empty()) std::exit(1);
}

void write_by_hand(const fs::path &state, const std::string &content)
{
    const std::string name = state / "by-hand";
    const int fd = open((name + ".tmp").c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (write(fd, content.data(), content.size()) < 0 || fsync(fd) != 0) std::exit(1);
    close(fd);
    fs::rename(name + ".tmp", name);
    const int folder = open(state.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    fsync(folder);
    close(folder);
}

void round_trips(int count)
{
    int pair[2];
    if (socketpair(AF_UNIX, SOCK_STREAM, 0, pair) != 0) std::exit(1);
    std::thread echo([fd = pair[1]] {
        char c = 0;
        while (read(fd, &c, 1) == 1 && write(fd, &c, 1) == 1) {
        }
    });
    for (int i = 0; i < count; i++) {
        char c = 0;
        if (write(pair[0], &c, 1) != 1 || read(pair[0], &c, 1) != 1) std::exit(1);
    }
    close(pair[0]);
    echo.join();
    close(pair[1]);
}

// The least that the agent can be asked for.
void protocol_trips(Peer &client, int count)
{
    for (int i = 0; i < count; i++)
        request(client, Op::discard, {});
}

[[noreturn]] void echo_frames(int listener)
{
    char bytes[64];
    const int one = 1;
    const int fd = accept(listener, nullptr, nullptr);
    setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
    for (ssize_t n = 0; (n = recv(fd, bytes, sizeof bytes, 0)) > 0;)
        send(fd, bytes, static_cast<std::size_t>(n), MSG_NOSIGNAL);
    _exit(0);
}

// A connection over loopback to a process that sends everything back.
int connect_to_echo()
{
    sockaddr_in address{};
    socklen_t size = sizeof address;
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (bind(listener, reinterpret_cast<sockaddr *>(&address), size) != 0 || listen(listener, 1) != 0) std::exit(1);
    getsockname(listener, reinterpret_cast<sockaddr *>(&address), &size);
    if (fork() == 0) echo_frames(listener);
    close(listener);
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (connect(fd, reinterpret_cast<sockaddr *>(&address), size) != 0) std::exit(1);
    const int one = 1;
    setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
    return fd;
}

// Of this program and what it starts: nothing here happens at once, and waking another processor takes up to ten times
// as long as a round trip.
void stay_on_one_processor()
{
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(static_cast<unsigned>(sched_getcpu()), &one);
    sched_setaffinity(0, sizeof one, &one);
}

void measure_trips(Peer &client, int n)
{
    const int echo = connect_to_echo();
    char frame[length_bytes + header_bytes] = {}; // as long as both frames of the other
    constexpr int in_a_row = 20;                  // else each is the first after a pause of its peer
    Samples plain;
    Samples protocol;
    const auto plain_trips = [&] {
        for (int i = 0; i < in_a_row; i++) {
            if (send(echo, frame, sizeof frame, 0) < 0 || recv(echo, frame, sizeof frame, MSG_WAITALL) < 0) {
                std::exit(1);
            }
        }
    };
    for (int i = 0; i < n; i++) {
        plain.push_back(time_us(plain_trips) / in_a_row);
        protocol.push_back(time_us([&] { protocol_trips(client, in_a_row); }) / in_a_row);
    }
    close(echo);
    wait(nullptr);
    print("protocol round trip", median(protocol), "round trip over loopback TCP", median(plain));
    print_row("protocol round trip", median(protocol), "us", "9 octets over loopback TCP and back", median(plain), "");
}

int print_trips(int count)
{
    Peer client = open_peer(default_port, Role::client);
    std::printf("%.3f\n", median_us(50, [&] { protocol_trips(client, count); }) / 1000);
    return 0;
}

long resident_kb(pid_t pid)
{
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    std::string word;
    while (status >> word) {
        if (word == "VmRSS:") break;
    }
    long kb = 0;
    status >> kb;
    return kb;
}

std::string running_file(const fs::path &state)
{
    for (const auto &entry : fs::directory_iterator(state)) {
        if (!entry.is_regular_file() || !entry.path().filename().string().starts_with("running")) continue;
        std::ifstream in(entry.path());
        return {std::istreambuf_iterator<char>(in), {}};
    }
    std::exit(1);
}

void measure(const fs::path &state, int n, pid_t agent)
{
    Peer client = open_peer(port, Role::client);
    commit_description(client, -1);
    const std::string content = running_file(state);
    // One after the other, so that both meet the same disk.
    Samples by_hand;
    Samples commit;
    for (int i = 0; i < n; i++) {
        by_hand.push_back(time_us([&] { write_by_hand(state, content); }));
        commit.push_back(time_us([&] { commit_description(client, i); }));
    }
    print("commit of one leaf, one idle subscriber", median(commit), "write, fsync, rename, dir fsync",
          median(by_hand));
    const double beyond = median(commit) - median(by_hand);
    std::printf("%-44s %9.1f us\n", "  beyond the disk", beyond);
    print_row("commit of one leaf", median(commit), "us", "write, fsync, rename, directory fsync", median(by_hand), "");
    print_row("commit of one leaf, beyond the disk", beyond, "us", "", 0, "1500");

    const int in_a_row = 4; // the same number of turns between processes as the read below takes
    const double floor = median_us(n, [&] { round_trips(in_a_row); });
    const std::string get = encode(Get{
        Source::operational, false, {"if-mib", "ifEntry"}
    });
    Tree tree;
    decode(request(client, Op::get, get), &tree);
    const auto leaves = std::count_if(tree.nodes.begin(), tree.nodes.end(),
                                      [](const TreeNode &node) { return node.kind == NodeKind::leaf; });
    const double read = median_us(n, [&] { request(client, Op::get, get); });
    char what[64];
    std::snprintf(what, sizeof what, "operational read, %d leaves from memory", static_cast<int>(leaves));
    print(what, read, "4 round trips between threads", floor);
    print_row(what, read, "us", "4 round trips between threads", floor, "1000");

    const double configuration = median_us(n, [&] { request(client, Op::get, encode(Get{})); });
    print("whole configuration", configuration, "4 round trips between threads", floor);
    std::printf("%-44s %9ld kB\n", "resident memory of the agent", resident_kb(agent));
    measure_trips(client, n);
    close(client.fd);
}

} // namespace

int main(int argc, char **argv)
{
    if (argc > 2 && std::string(argv[1]) == "--trips")
        return print_trips(static_cast<int>(std::strtol(argv[2], nullptr, 10)));
    const int rounds = argc > 1 ? static_cast<int>(std::strtol(argv[1], nullptr, 10)) : 400;
    const fs::path program = fs::read_symlink("/proc/self/exe").parent_path() / "gw-agent";
    const fs::path state = program.parent_path().parent_path().parent_path() / "bench-state";
    fs::remove_all(state);
    fs::create_directories(state);
    stay_on_one_processor();
    const pid_t agent = start_agent(program, state);
    Peer provider = open_peer(port, Role::application);
    std::thread server(serve, provider);
    usleep(200000); // the first delivery
    std::printf("%-44s %12s   %-34s %12s   ratio\n", "median of agent", "", "floor", "");
    measure(state, rounds, agent);
    kill(agent, SIGTERM);
    waitpid(agent, nullptr, 0);
    server.join();
    return 0;
}
