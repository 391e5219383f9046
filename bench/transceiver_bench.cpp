// The transceiver's leaves: decoding each from an ID PROM image, and what the daemon adds to the time that the
// transfers of a diagnostics leaf take on the bus.
#include <algorithm>
#include <chrono>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <vector>

#include <benchmark/benchmark.h>
#include <linux/i2c-dev.h>
#include <linux/i2c.h>

#include "show/sfp_bus.h"

namespace {

using Clock = std::chrono::steady_clock;
using Microseconds = std::chrono::duration<double, std::micro>;

constexpr Microseconds byte_time{9 * 2.5}; // eight bits and the acknowledgement at 400 kHz, the fastest of SFF-8472

// 12 bytes of readings, 36 of constants and the flag, in 11 messages that each begin with an address byte; three of
// them carry an offset.
constexpr int diagnostics_bytes = 12 + 36 + 1 + 11 + 3;
constexpr std::uint32_t temperature = 1369685861;

constexpr std::uint32_t idprom_leaves[] = {202559156,  1679844964, 820311737, 180862443, 335199302,
                                           465193425,  728439639,  447779376, 294542203, 850404072,
                                           2023329977, 300239297,  397036642, 188569195, 1702651198};

void decode_idprom_leaf(benchmark::State &state)
{
    std::uint8_t image[sfp_info_size];
    char text[sfp_text_size];
    memset(image, 'A', sizeof image);
    while (state.KeepRunning()) {
        benchmark::DoNotOptimize(sfp_idprom_text(image, idprom_leaves[state.range(0)], text));
        benchmark::DoNotOptimize(text);
    }
}
BENCHMARK(decode_idprom_leaf)->DenseRange(0, std::size(idprom_leaves) - 1);

int bytes_asked_for;         // since the leaf began, with addresses and offsets
Microseconds waited_for_bus; // longer than the bus takes while another program has the processor

// The median of what the leaf costs on an idle machine: the bytes that it asked for, and its own time.
void diagnostics_leaf(benchmark::State &state)
{
    std::vector<Microseconds> leaves;
    while (state.KeepRunning()) {
        const auto begin = Clock::now();
        bytes_asked_for = 0;
        waited_for_bus = {};
        SfpDiag diag{};
        char text[sfp_text_size];
        if (sfp_read_diag(diag) == 0 || !sfp_diag_text(diag, temperature, text)) abort();
        leaves.emplace_back(bytes_asked_for * byte_time + (Clock::now() - begin - waited_for_bus));
    }
    const auto median = leaves.begin() + static_cast<std::ptrdiff_t>(leaves.size() / 2);
    std::nth_element(leaves.begin(), median, leaves.end());
    state.counters["added%"] = 100 * (*median / (diagnostics_bytes * byte_time) - 1);
}
BENCHMARK(diagnostics_leaf)->Unit(benchmark::kMicrosecond)->UseRealTime();

} // namespace

extern "C" {

int __real_open(const char *path, int flags, ...);

int __wrap_open(const char *path, int flags, ...)
{
    return __real_open(strcmp(path, "/dev/i2c-2") == 0 ? "/dev/null" : path, flags, 0);
}

// An externally calibrated module, read as slowly as its bus is. Spins: a sleep would add to the bus time.
int __wrap_ioctl(int /*fd*/, unsigned long request, ...)
{
    const auto begin = Clock::now();
    va_list arguments;
    va_start(arguments, request);
    const auto *data = va_arg(arguments, i2c_rdwr_ioctl_data *);
    va_end(arguments);
    int bytes = 0;
    for (unsigned i = 0; i < data->nmsgs; ++i) {
        bytes += 1 + data->msgs[i].len;
        if ((data->msgs[i].flags & I2C_M_RD) != 0) memset(data->msgs[i].buf, 0x10, data->msgs[i].len);
    }
    while (Clock::now() - begin < bytes * byte_time) {
    }
    bytes_asked_for += bytes;
    waited_for_bus += Clock::now() - begin;
    return static_cast<int>(data->nmsgs);
}
}
