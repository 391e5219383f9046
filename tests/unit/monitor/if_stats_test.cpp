// The arithmetic of the statistics over a kernel table of the test's own, and their guard.
#include <array>
#include <bit>
#include <cstring>

#include <gtest/gtest.h>

#include "core/base/globals.h"
#include "fakes/files.h"
#include "fakes/platform.h"
#include "fakes/record.h"
#include "monitor/if_stats.h"

extern "C" FILE *__real_fopen(const char *path, const char *mode);
extern "C" FILE *__wrap_fopen(const char *path, const char *mode)
{
    const bool kernel = strncmp(path, "/proc/", 6) == 0 || strncmp(path, "/sys/", 5) == 0;
    return __real_fopen((std::string(kernel ? "/tmp" : "") + path).c_str(), mode);
}

constexpr const char *net_dev = "/tmp/proc/net/dev";
constexpr std::uint64_t max = UINT64_MAX;
using Numbers = std::array<std::uint64_t, 12>;

static Numbers shown(int device_index)
{
    return std::bit_cast<Numbers>(read_current_stats(device_index));
}

TEST(IfStats, CountFromTheBaseline)
{
    fakes::write_file(net_dev, "Inter-| Receive\n wired0:\n wired00: 1000 10 1 2 90 91 92 93 2000 20 3 4 94 95 96 97\n"
                               "  wired0: 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1 1\ncell_1_0: 5 6 7 x 9\n"); // cut short
    // clang-format off
    const struct { const char *device; int result; Numbers baseline, output; } cases[] = {
        {"wired0",   0, {},                                    {10, 1000, 1, 2, 7, 8, 20, 2000, 3, 4, 7, 8}       },
        {"wired0",   0, {9, 1000, 1, 2, 9, 9, 20, 1999, 3, 4}, {1, 0, 0, 0, 7, 8, 0, 1, 0, 0, 7, 8}               },
        {"wired0",   0, {5, 1001, 0, 0, 0, 0, 5, 2001},        {10, 1000, 1, 2, 7, 8, 20, 2000, 3, 4, 7, 8}       },
        {"wired0",   0, {12, 1001, 0, 4, 0, 0, 0, 2000},       {max - 1, max, 1, max - 1, 7, 8, 20, 0, 3, 4, 7, 8}},
        {"cell_1_0", 0, {},                                    {6, 5, 7, 0, 7, 8, 0, 0, 0, 0, 7, 8}               },
        {"absent",   1, {},                                    {0, 0, 0, 0, 7, 8, 0, 0, 0, 0, 7, 8}               },
    };
    // clang-format on
    for (const auto &c : cases) {
        auto output = std::bit_cast<IfStatSample>(Numbers{0, 0, 0, 0, 7, 8, 0, 0, 0, 0, 7, 8});
        EXPECT_EQ(read_proc_net_dev_stats(c.device, std::bit_cast<IfStatSample>(c.baseline), output), c.result);
        EXPECT_EQ(std::bit_cast<Numbers>(output), c.output);
    }
}

// A step in which the LAN port has received `octets` and sent three times as many; the modem, oddly, receives no byte.
static void step(std::uint64_t octets, std::uint64_t cellular_packets)
{
    fakes::write_file(net_dev, "wired0: " + std::to_string(octets) + " 6 1 2 0 0 0 0 " + std::to_string(3 * octets) +
                                   " 12 3 4\ncell_1_0: 0 " + std::to_string(cellular_packets) + "\n");
    run_statistics_step();
}

TEST(IfStats, AverageOverTheRingAndStartAnewAfterAClear)
{
    // Eight bits in six seconds are one, 24 are four; the fourth step counts anew and keeps the rate before it; the
    // tenth finds the ring full, that of the modem never is.
    using Series = std::vector<std::uint64_t>;
    const Series octets = {1000, 1600, 1601, 500, 500, 500, 500, 500, 500, 500, 1100, 1100};
    const std::array<Series, 3> expected = {
        Series{0, 800,  400,  267, 200, 160, 133, 114, 100, 80,  160, 80 },
        Series{0, 2400, 1202, 802, 602, 481, 401, 344, 301, 240, 480, 240},
        Series{0, 10,   10,   10,  10,  10,  10,  10,  10,  10,  10,  20 },
    };
    std::array<Series, 3> rates;
    zero_if_stats();
    for (std::size_t i = 0; i < octets.size(); i++) {
        step(octets[i], 60 * i);
        rates[0].push_back(read_current_stats(0).rx_bps);
        rates[1].push_back(read_current_stats(0).tx_bps);
        rates[2].push_back(read_current_stats(1).rx_pps);
    }
    EXPECT_EQ(rates, expected);
    const Numbers last = {6, 1100, 1, 2, 0, 80, 12, 3300, 3, 4, 0, 240};
    std::filesystem::remove(net_dev);
    run_statistics_step();
    EXPECT_EQ(shown(0), last) << "without the kernel's table";
    EXPECT_EQ(g_if_stats[0].ring[1].rx_bps, 0U) << "a sample keeps its own rates";
    for (const std::uint64_t at_clear : {2000U, 2500U}) {
        step(at_clear, 0);
        EXPECT_EQ(clear_counters_action(nullptr, nullptr, nullptr, nullptr, 0), 0);
        EXPECT_EQ(shown(0), Numbers{});
        step(at_clear + 60, 0);
        EXPECT_EQ(shown(0), (Numbers{0, 60, 0, 0, 0, 0, 0, 180}));
    }
}

TEST(StatsGuard, IsWaitedForFiveTimesAtMost)
{
    for (const std::size_t freeing_wait : {0U, 2U, 9U}) { // free, freed in between, never freed
        fakes::reset();
        g_stats_guard = freeing_wait != 0;
        fakes::outcomes.on_wait = [freeing_wait, waits = 0U](unsigned) mutable {
            g_stats_guard = ++waits != freeing_wait;
        };
        take_stats_guard();
        EXPECT_EQ(fakes::taken(), fakes::Events(std::min<std::size_t>(freeing_wait, 5), "wait 100 ms"));
        EXPECT_EQ(g_stats_guard, 1);
    }
    g_stats_guard = 0;
}
