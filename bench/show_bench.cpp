// What an answer about the LAN port costs beside the bare commands that it cannot do without, run one after another in
// turns: "ratio" is that of the medians and shall stay at or below 1.10, "ratio_cpu" that of the processor time with
// the commands' own, which a busy machine disturbs less. Needs the lab's devices and its agent:
// lab/sandbox --bin DIR -- /lab/boot -- /opt/gw/bin/show_bench
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <iostream>
#include <sys/resource.h>
#include <unistd.h>
#include <vector>

#include "core/base/globals.h"
#include "show/if_map.h"
#include "show/tarvo_show.h"
#include "show/tarvo_snmp.h"
#include "tollan.h"

// Instead of the replies, which are sent to the agent: how many entries the last one had.
static int replied;

extern "C" int __wrap_confd_data_reply_tag_value_array(confd_trans_ctx * /*tctx*/, const confd_tag_value_t * /*tvs*/,
                                                       int n)
{
    replied = n;
    return CONFD_OK;
}

namespace {

using Clock = std::chrono::steady_clock;
using Samples = std::vector<double>;

constexpr const char *address_commands[] = {
    "/sbin/ifconfig srcr2 | grep 'inet addr' | cut -d: -f2 | awk '{print $1}'",
    "/sbin/ifconfig srcr2 | grep 'inet addr' | cut -d: -f4",
};
constexpr const char *speed_command = "/bin/cat /sys/class/net/wired0/speed";

struct Question {
    int (*provider)(confd_trans_ctx *tctx, confd_hkeypath_t *kp);
    confd_value_t path[3]; // innermost first
    bool with_speed;
    int entries; // of the answer, when all was read
};

confd_value_t tag(std::uint32_t hash)
{
    confd_value_t value{};
    value.type = C_XMLTAG;
    value.val.xmltag.tag = hash;
    return value;
}

confd_value_t key(const char *text)
{
    confd_value_t value{};
    value.type = C_BUF;
    value.val.buf.ptr = reinterpret_cast<unsigned char *>(const_cast<char *>(text));
    value.val.buf.size = 3;
    return value;
}

confd_value_t row(std::int32_t index)
{
    confd_value_t value{};
    value.type = C_INT32;
    value.val.i32 = index;
    return value;
}

double seconds_of(const timeval &time)
{
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

// Of this process and of the commands that it waited for.
double processor_seconds()
{
    double seconds = 0;
    for (const int who : {RUSAGE_SELF, RUSAGE_CHILDREN}) {
        rusage usage{};
        getrusage(who, &usage);
        seconds += seconds_of(usage.ru_utime) + seconds_of(usage.ru_stime);
    }
    return seconds;
}

struct Side {
    Samples wall;
    double processor = 0;
};

template <typename Work> void time_one(Side &side, const Work &work)
{
    const double used = processor_seconds();
    const auto begin = Clock::now();
    work();
    side.wall.push_back(std::chrono::duration<double>(Clock::now() - begin).count());
    side.processor += processor_seconds() - used;
}

void run_command(const char *command)
{
    char line[128];
    FILE *const pipe = popen(command, "re");
    if (pipe == nullptr || fgets(line, sizeof line, pipe) == nullptr) line[0] = '\0';
    benchmark::DoNotOptimize(line);
    if (pipe != nullptr) pclose(pipe);
}

void run_commands(bool with_speed)
{
    for (const char *command : address_commands)
        run_command(command);
    if (with_speed) run_command(speed_command);
}

void ask(const Question &question)
{
    tollan_ctx module{};
    module.ready = 1;
    confd_daemon_ctx daemon{&module};
    confd_trans_ctx tctx{&daemon};
    confd_hkeypath_t path{};
    for (const confd_value_t &element : question.path)
        path.v[path.len++][0] = element;
    question.provider(&tctx, &path);
}

double median(Samples samples)
{
    const auto at = samples.begin() + static_cast<std::ptrdiff_t>(samples.size() / 2);
    std::nth_element(samples.begin(), at, samples.end());
    return *at;
}

// The one goes first as often as the other.
void compare(benchmark::State &state, const Question &question)
{
    Side answers;
    Side commands;
    const auto answer = [&] { time_one(answers, [&] { ask(question); }); };
    for (bool first = true; state.KeepRunning(); first = !first) {
        if (first) answer();
        time_one(commands, [&] { run_commands(question.with_speed); });
        if (!first) answer();
        state.SetIterationTime(answers.wall.back());
    }
    if (replied != question.entries) state.SkipWithError("an answer that lacks entries");
    state.counters["answer_ms"] = median(answers.wall) * 1e3;
    state.counters["commands_ms"] = median(commands.wall) * 1e3;
    state.counters["ratio"] = median(answers.wall) / median(commands.wall);
    state.counters["ratio_cpu"] = answers.processor / commands.processor;
}

Question view(std::uint32_t container, bool with_speed, int entries)
{
    return {
        tarvo_show_interface_get_object,
        {key("0/0"), tag(gw_system_GigabitEthernet), tag(container)},
        with_speed,
        entries
    };
}

Question mib_row()
{
    return {tarvo_if_mib_get_object, {row(1)}, true, 30};
}

BENCHMARK_CAPTURE(compare, brief, view(1, false, 8))->UseManualTime()->MinTime(3);
BENCHMARK_CAPTURE(compare, detail, view(0x3aafcb2e, true, 26))->UseManualTime()->MinTime(3);
BENCHMARK_CAPTURE(compare, if_mib_row, mib_row())->UseManualTime()->MinTime(3);

} // namespace

int main(int argc, char **argv)
{
    if (access("/sys/class/net/srcr2", F_OK) != 0) {
        fprintf(stderr, "show_bench: no srcr2: run it in the lab, see bench/show_bench.cpp\n");
        return 0;
    }
    g_logger_p = &g_logger; // the daemon logs
    // The traces go where they go in the daemon's life, the figures to standard error.
    if (freopen("/dev/null", "w", stdout) == nullptr) return 1;
    benchmark::Initialize(&argc, argv);
    benchmark::ConsoleReporter reporter(benchmark::ConsoleReporter::OO_None);
    reporter.SetOutputStream(&std::cerr);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    return 0;
}
