// What an answer about the LAN port costs beside the bare commands that it cannot do without, run one after another in
// turns: "ratio" is that of the medians and shall stay at or below 1.10, "ratio_quiet" that of the first deciles, which
// a busy machine disturbs less. Needs the lab's devices and its agent:
// lab/sandbox --bin DIR -- /lab/boot -- /opt/gw/bin/show_bench
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <iostream>
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

double seconds_since(Clock::time_point begin)
{
    return std::chrono::duration<double>(Clock::now() - begin).count();
}

void run_command(const char *command)
{
    char line[128];
    FILE *const pipe = popen(command, "re");
    if (pipe == nullptr || fgets(line, sizeof line, pipe) == nullptr) line[0] = '\0';
    benchmark::DoNotOptimize(line);
    if (pipe != nullptr) pclose(pipe);
}

double run_commands(bool with_speed)
{
    const auto begin = Clock::now();
    for (const char *command : address_commands)
        run_command(command);
    if (with_speed) run_command(speed_command);
    return seconds_since(begin);
}

double ask(const Question &question)
{
    tollan_ctx module{};
    module.ready = 1;
    confd_daemon_ctx daemon{&module};
    confd_trans_ctx tctx{&daemon};
    confd_hkeypath_t path{};
    for (const confd_value_t &element : question.path)
        path.v[path.len++][0] = element;
    const auto begin = Clock::now();
    question.provider(&tctx, &path);
    return seconds_since(begin);
}

double percentile(Samples &samples, std::size_t percent)
{
    const auto at = samples.begin() + static_cast<std::ptrdiff_t>(samples.size() * percent / 100);
    std::nth_element(samples.begin(), at, samples.end());
    return *at;
}

void compare(benchmark::State &state, const Question &question)
{
    Samples answers;
    Samples commands;
    while (state.KeepRunning()) {
        commands.push_back(run_commands(question.with_speed));
        answers.push_back(ask(question));
        state.SetIterationTime(answers.back());
    }
    if (replied != question.entries) state.SkipWithError("an answer that lacks entries");
    state.counters["answer_ms"] = percentile(answers, 50) * 1e3;
    state.counters["commands_ms"] = percentile(commands, 50) * 1e3;
    state.counters["ratio"] = percentile(answers, 50) / percentile(commands, 50);
    state.counters["ratio_quiet"] = percentile(answers, 10) / percentile(commands, 10);
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
    benchmark::ConsoleReporter reporter(benchmark::ConsoleReporter::OO_Tabular);
    reporter.SetOutputStream(&std::cerr);
    benchmark::RunSpecifiedBenchmarks(&reporter);
    return 0;
}
