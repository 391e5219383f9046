// One entry of a long side file is replaced, without the traces and without the command that dnsmasq is told with.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <unistd.h>

#include "core/base/command_runner.h"
#include "dhcp/side_file.h"

void CommandRunner(const char * /*command*/) {}
void log_trace(int /*level*/, TracePoint /*point*/, const char * /*format*/, ...) {}

namespace {

void replace_one_of_1000_lines(benchmark::State &state)
{
    char path[] = "/dev/shm/side_file_XXXXXX"; // in memory, as the appliance's /tmp
    const int fd = mkstemp(path);
    for (int i = 0; i < 1000; i++) {
        dprintf(fd, "02:11:22:33:%02x:%02x,10.0.%d.%d\n", i / 256, i % 256, i / 256, i % 256);
    }
    close(fd);
    while (state.KeepRunning())
        process_dnsmasq_dhcp_file(path, false, "02:11:22:33:01:00", "02:11:22:33:01:00,10.0.1.0");
    remove(path);
}
BENCHMARK(replace_one_of_1000_lines)->Unit(benchmark::kMicrosecond);

} // namespace
