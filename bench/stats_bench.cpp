// One statistics step of the monitor over the kernel's own table. The bound is 100 microseconds: it runs every six
// seconds beside the data plane.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <sched.h>
#include <unistd.h>

#include "monitor/if_stats.h"

namespace {

bool write_line(const char *path, const char *line)
{
    FILE *file = fopen(path, "we");
    if (file == nullptr) return false;
    fputs(line, file);
    return fclose(file) == 0;
}

// Both devices, in a network namespace of this process alone. The program `ip` wants to be root in there.
bool make_devices()
{
    char map[32];
    snprintf(map, sizeof map, "0 %u 1", geteuid());
    return unshare(CLONE_NEWUSER | CLONE_NEWNET) == 0 && write_line("/proc/self/uid_map", map) &&
           system("ip link add wired0 type veth peer name cell_1_0") == 0;
}

void statistics_step(benchmark::State &state)
{
    static const bool has_devices = make_devices();
    if (!has_devices) state.SetLabel("no namespace allowed: the table is read, no rates are computed");
    zero_if_stats();
    while (state.KeepRunning())
        run_statistics_step();
}
BENCHMARK(statistics_step);

} // namespace
