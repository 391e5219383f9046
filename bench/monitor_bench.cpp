// Processor time of one idle cycle of the monitor, statistics included, on this machine's devices. Twenty cycles a
// minute are what the gateway spends; waits are left out.
#include <benchmark/benchmark.h>

#include "core/base/waits.h"
#include "monitor/if_stats.h"
#include "monitor/monitor_loop.h"

void wait_seconds(unsigned /*seconds*/) {}
void wait_milliseconds(unsigned /*milliseconds*/) {}

namespace {

void idle_cycle(benchmark::State &state)
{
    MonitorState monitor; // without an agent and without a PHY: neither is asked while nothing changes
    while (state.KeepRunning()) {
        monitor.probe_counter = 0; // neither a command
        g_psv_collect_counter = 0; // nor an export
        benchmark::DoNotOptimize(run_monitor_cycle(monitor));
    }
}
BENCHMARK(idle_cycle);

} // namespace
