// gw-snmp against the system's own snmpd in the same run: the same number of interfaces, the same questions, in turns.
// The bound is 1.20 for each ratio. gw-snmp is measured with everything behind it: the agent, and an application that
// serves the rows from memory. Runs in a sandbox of its own.
//
// usage: snmp_bench [ROUNDS]
#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <initializer_list>
#include <thread>
#include <vector>

#include "bench/peer.h"
#include "bench/row.h"
#include "protocol/application.h"
#include "protocol/client.h"

using namespace proto;

namespace {

constexpr char inside[] = "--inside"; // the sandbox
constexpr const char *own_address = "udp:127.0.0.1:1161";
constexpr const char *snmpd_address = "udp:127.0.0.1:1162";
constexpr std::int64_t rows = 3; // lo and a pair of devices, which is what snmpd has in there
constexpr long repetitions = 25;

constexpr std::uint32_t index_tag = 0x71d6142a;
constexpr std::uint32_t counter_tags[] = {0x492ffcdc, 0x763c0f35, 0x742b8a6b, 0x18999a43, 0x5286fbe0,
                                          0x5f7fc5b6, 0x15e3a74a, 0x20406274, 0x7cd2079c, 0x1e5ea8bc,
                                          0x2eb1f9e2, 0x28367dd6, 0x1cb4aedf, 0x071b082d, 0x0f96951f};
constexpr std::uint32_t wide_tags[] = {0x3ba680f0, 0x719cc862, 0x21809693, 0x61e6c20b,
                                       0x7f1b5515, 0x7169a7d9, 0x025c7cd3, 0x64d17eff};

struct Group {
    const char *name;
    std::vector<oid> entry;
    std::vector<oid> columns; // that both serve
};

const Group groups[] = {
    {"ifTable",  {1, 3, 6, 1, 2, 1, 2, 2, 1},     {1, 2, 3, 4, 5, 6, 7, 8, 10, 11, 13, 14, 16, 17, 19, 20}},
    {"ifXTable", {1, 3, 6, 1, 2, 1, 31, 1, 1, 1}, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 15}         },
};

struct Figures {
    std::vector<double> us;
    int variables = 1; // of one answer, or of one walk
};

[[noreturn]] void fail(const char *what)
{
    std::fprintf(stderr, "snmp_bench: %s\n", what);
    std::exit(1);
}

// ---- the application behind the agent

DataReply row_from_memory(std::int64_t index)
{
    DataReply reply;
    reply.kind = DataKind::next_object;
    if (index > rows) return reply;
    const auto put = [&](std::uint32_t tag, const Value &value) { reply.values.push_back({tag, 0, value}); };
    put(index_tag, make_number(ValueType::int32, index));
    put(0x61857538, make_text(ValueType::str, "GigabitEthernet 0/0"));
    put(0x285993ad, make_text(ValueType::str, "Gigabit Ethernet Interface"));
    put(0x2126ef0a, make_number(ValueType::enum_value, 1));
    put(0x28382b5e, make_number(ValueType::enum_value, 1));
    put(0x797799f3, make_text(ValueType::binary, std::string_view("02:00:00:00:01:01\0", 18)));
    put(0x4b98b65e, make_number(ValueType::enum_value, 117));
    for (const std::uint32_t tag : counter_tags)
        put(tag, make_number(ValueType::uint32, 1000 + index));
    for (const std::uint32_t tag : wide_tags)
        put(tag, make_number(ValueType::uint64, 1LL << 40));
    return reply;
}

DataReply answer_to(const CallData &call)
{
    DataReply reply;
    if (call.call == DataCall::get_next_object) return row_from_memory(1);
    if (call.call == DataCall::find_next_object) return row_from_memory(call.keys.at(0).number + 1);
    reply.kind = DataKind::value;
    reply.value = make_number(ValueType::int32, rows);
    return reply;
}

void serve(Peer peer)
{
    Register reg;
    reg.app = "bench";
    reg.instance = 1;
    reg.callpoints = {
        {"if-mib-interface-stats", 1U << static_cast<unsigned>(DataCall::get_next_object) |
                                       1U << static_cast<unsigned>(DataCall::find_next_object)},
        {"if-mib-interfaces",      1U << static_cast<unsigned>(DataCall::get_elem)                                              }
    };
    request(peer, Op::register_app, encode(reg));
    Message message;
    while (receive_message(peer, &message)) {
        CallData call;
        if (message.op == Op::deliver) send_message(peer, Op::reply, message.id, encode(Status{}));
        if (message.op != Op::call_data || !decode(message.payload, &call)) continue;
        send_message(peer, Op::reply, message.id, encode(DataReplies{{answer_to(call)}}));
    }
}

void switch_on()
{
    Peer client = open_peer(default_port, Role::client);
    request(client, Op::edit,
            encode(Edit{
                false, {"snmp", "disable", "false"}
    }));
    request(client, Op::commit, encode(Commit{}));
    close(client.fd);
}

// ---- the programs

pid_t start(std::initializer_list<const char *> command)
{
    const pid_t pid = fork();
    if (pid != 0) return pid;
    const int null = open("/dev/null", O_WRONLY | O_CLOEXEC);
    dup2(null, STDERR_FILENO);
    std::vector<char *> words;
    for (const char *word : command)
        words.push_back(const_cast<char *>(word));
    words.push_back(nullptr);
    execv(words[0], words.data());
    _exit(127);
}

void prepare()
{
    setenv("MIBS", "", 1);
    setenv("SNMP_PERSISTENT_DIR", "/tmp/snmp", 1);
    std::ofstream("/tmp/snmp.conf") << "rocommunity public\n";
    if (std::system("ip link add bench0 address 02:00:00:00:01:01 type veth peer name bench1") != 0) fail("no devices");
}

long resident_kb(pid_t pid)
{
    std::ifstream status("/proc/" + std::to_string(pid) + "/status");
    std::string word;
    while (status >> word && word != "VmRSS:") {
    }
    long kb = 0;
    status >> kb;
    return kb;
}

// ---- the questions

netsnmp_session *open_session(const char *address)
{
    static char community[] = "public";
    netsnmp_session settings;
    snmp_sess_init(&settings);
    settings.version = SNMP_VERSION_2c;
    settings.peername = const_cast<char *>(address);
    settings.community = reinterpret_cast<u_char *>(community);
    settings.community_len = sizeof community - 1;
    settings.timeout = 3000000;
    settings.flags |= SNMP_FLAGS_DONT_PROBE;
    netsnmp_session *session = snmp_open(&settings);
    if (session == nullptr) fail("cannot open a session");
    return session;
}

netsnmp_pdu *ask(netsnmp_session *session, int command, const std::vector<oid> &name)
{
    netsnmp_pdu *pdu = snmp_pdu_create(command);
    if (command == SNMP_MSG_GETBULK) {
        pdu->non_repeaters = 0;
        pdu->max_repetitions = repetitions;
    }
    snmp_add_null_var(pdu, name.data(), name.size());
    netsnmp_pdu *answer = nullptr;
    if (snmp_synch_response(session, pdu, &answer) != STAT_SUCCESS || answer->errstat != SNMP_ERR_NOERROR) {
        fail("no answer");
    }
    return answer;
}

int get(netsnmp_session *session, const std::vector<oid> &name)
{
    netsnmp_pdu *answer = ask(session, SNMP_MSG_GET, name);
    if (answer->variables->type >= SNMP_NOSUCHOBJECT) fail("no such object");
    snmp_free_pdu(answer);
    return 1;
}

bool is_below(const std::vector<oid> &root, const netsnmp_variable_list *variable)
{
    return variable->name_length >= root.size() && variable->type != SNMP_ENDOFMIBVIEW &&
           std::equal(root.begin(), root.end(), variable->name);
}

// The number of variables below the root.
int walk(netsnmp_session *session, const std::vector<oid> &root)
{
    std::vector<oid> at = root;
    for (int count = 0;;) {
        netsnmp_pdu *answer = ask(session, SNMP_MSG_GETBULK, at);
        bool more = true;
        for (auto *variable = answer->variables; variable != nullptr && more; variable = variable->next_variable) {
            more = is_below(root, variable);
            if (more) at.assign(variable->name, variable->name + variable->name_length);
            count += more ? 1 : 0;
        }
        snmp_free_pdu(answer);
        if (!more) return count;
    }
}

using Question = std::function<int(netsnmp_session *)>;

void time_one(netsnmp_session *session, const Question &question, Figures *figures)
{
    const auto begin = std::chrono::steady_clock::now();
    figures->variables = question(session);
    figures->us.push_back(std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - begin).count());
}

double per_variable(Figures figures)
{
    const auto middle = figures.us.begin() + static_cast<std::ptrdiff_t>(figures.us.size() / 2);
    std::nth_element(figures.us.begin(), middle, figures.us.end());
    return *middle / figures.variables;
}

struct Sides {
    netsnmp_session *own;
    netsnmp_session *snmpd;
};

struct Result {
    double own = 0; // microseconds per variable
    double snmpd = 1;
};

double ratio_of(const Result &result)
{
    return result.own / result.snmpd;
}

Result worse(const Result &a, const Result &b)
{
    return ratio_of(a) > ratio_of(b) ? a : b;
}

// In turns, so that both meet the same machine. Medians per variable.
Result compare(const std::string &what, int rounds, const Sides &sides, const Question &question)
{
    Figures own;
    Figures snmpd;
    for (int i = 0; i < rounds; i++) {
        time_one(sides.own, question, &own);
        time_one(sides.snmpd, question, &snmpd);
    }
    const Result result{per_variable(own), per_variable(snmpd)};
    std::printf("%-24s %4d variables %8.1f us  %4d variables %8.1f us   %5.2f\n", what.c_str(), own.variables,
                result.own, snmpd.variables, result.snmpd, ratio_of(result));
    return result;
}

void measure(int rounds, const Sides &sides)
{
    Result get_worst;
    Result walk_worst;
    std::printf("%-24s %26s  %26s   ratio\n", "median per variable", "gw-snmp", "snmpd");
    for (const Group &group : groups) {
        for (const oid column : group.columns) {
            std::vector<oid> name = group.entry;
            name.insert(name.end(), {column, 1});
            const std::string what = "GET " + std::string(group.name) + " column " + std::to_string(column);
            const auto question = [&](netsnmp_session *s) { return get(s, name); };
            get_worst = worse(get_worst, compare(what, rounds, sides, question));
        }
    }
    for (const Group &group : groups) {
        const std::string what = "bulk walk " + std::string(group.name);
        const auto question = [&](netsnmp_session *s) { return walk(s, group.entry); };
        walk_worst = worse(walk_worst, compare(what, rounds, sides, question));
    }
    print_row("SNMP GET, the worst column", get_worst.own, "us", "snmpd", get_worst.snmpd, "1.2x");
    print_row("SNMP bulk walk per variable, the worse table", walk_worst.own, "us", "snmpd", walk_worst.snmpd, "1.2x");
}

[[noreturn]] void enter_sandbox(const char *self, const char *count)
{
    const std::string bin = std::filesystem::read_symlink("/proc/self/exe").parent_path();
    execl(GW_SOURCE_DIR "/lab/sandbox", "sandbox", "--bin", bin.c_str(), "--", "/opt/gw/bin/snmp_bench", inside, count,
          nullptr);
    fail(self);
}

} // namespace

int main(int argc, char **argv)
{
    if (argc < 2 || std::string(argv[1]) != inside) enter_sandbox(argv[0], argc > 1 ? argv[1] : "400");
    prepare();
    const pid_t agent = start({"/opt/gw/bin/gw-agent", "--models", "/opt/gw/yang", "--state", "/var/lib/gw-agent"});
    std::thread(serve, open_peer(default_port, Role::application)).detach();
    switch_on();
    const pid_t own = start({"/opt/gw/bin/gw-snmp", "--config", "/tmp/snmp.conf", "--listen", own_address});
    const pid_t snmpd = start(
        {"/usr/sbin/snmpd", "-f", "-C", "-c", "/tmp/snmp.conf", "-I", "-smux", "-Lf", "/dev/null", snmpd_address});
    init_snmp("snmp_bench");
    const Sides sides{open_session(own_address), open_session(snmpd_address)};
    sleep(1); // until both listen
    measure(static_cast<int>(std::strtol(argv[2], nullptr, 10)), sides);
    std::printf("%-24s %23ld kB  %23ld kB\n", "resident memory", resident_kb(own), resident_kb(snmpd));
    std::fflush(stdout);
    for (const pid_t pid : {own, snmpd, agent})
        kill(pid, SIGKILL);
    _exit(0); // the application's thread waits for its next call
}
