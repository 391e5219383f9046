// Exports as the monitor makes them, over the fake kernel table of the statistics' tests.
#include <sys/time.h>

#include <gtest/gtest.h>

#include "core/base/globals.h"
#include "fakes/files.h"
#include "fakes/platform.h"
#include "fakes/record.h"
#include "monitor/psv_export.h"

static long now = 1700000000;

extern "C" time_t __wrap_time(time_t *)
{
    return now;
}

extern "C" int __wrap_gettimeofday(timeval *time, void *)
{
    *time = {now, 123999};
    return 0;
}

namespace {

using fakes::Events;

const std::string folder = "/tmp/tmp/Intf/";

Events export_slot(int idx)
{
    now += 600;
    g_if_stat_idx = idx;
    g_psv_collect_counter = 600;
    run_statistics_step();
    EXPECT_EQ(g_psv_collect_counter, 0);
    return fakes::taken();
}

TEST(PsvExport, KeepsRowsUntilTheyArePublished)
{
    const std::string opening = "error: Unable to open file: No such file or directory";
    const std::string closing = "error: Failed to close file: No space left on device";
    const std::string refused = "error: Failed to publish PSV stats";
    const std::string first = "/usr/bin/psv_stats.sh /tmp/tmp/Intf/Intf-1700000000.psv /tmp/psv/Intf";
    const std::string second = "/usr/bin/psv_stats.sh /tmp/tmp/Intf/Intf-1700001800.psv /tmp/psv/Intf";
    const std::string lan = "link: wired0";
    const std::string cellular = "link: cell_1_0";
    auto &links = fakes::outcomes.links;
    fakes::reset();
    g_logger_p = &g_logger;
    zero_if_stats();
    g_if_stats[0].ring[3] = {1, 2, 3, 4, 5, 3000000999999, 7, 8, 9, 10, 11, 12999};
    g_if_stats[1].ring[4] = {UINT64_MAX, 22, 23, 24, 25, 999, 27, 28, 29, 30, 31, 32000};
    links["wired0"].addr_family = 2;
    links["wired0"].oper_status = links["wired0"].admin_status = 1;
    fakes::write_file("/tmp/proc/net/dev", "wired0: 5 6 7\ncell_1_0: 5 6 7\n");
    fakes::write_file("/tmp/sys/class/net/cell_1_0/flags", "0x1002\n"); // down: exported, but not sampled
    psv_stats_file_init();
    std::filesystem::create_directories(folder);
    psv_stats_file_init();
    EXPECT_EQ(fakes::taken(), Events{opening});
    EXPECT_EQ(export_slot(3), (Events{lan, cellular, "error: Error getting interface info: 1"}));
    links["cell_1_0"].addr_family = 10;
    links["cell_1_0"].admin_status = 1;
    EXPECT_EQ(export_slot(4), (Events{lan, cellular, "output: " + first, refused}));
    links["wired0"].addr_family = 0;
    fakes::outcomes.outputs[first] = fakes::outcomes.outputs[second] = "";
    // The LAN's row finds a step pending and takes it along; the modem's is all of the next file.
    EXPECT_EQ(export_slot(5), (Events{lan, "output: " + first, cellular, "output: " + second}));
    EXPECT_EQ(fakes::read_file(folder + "Intf-1700000000.psv") + fakes::read_file(folder + "Intf-1700001800.psv"),
              fakes::read_file(GW_SOURCE_DIR "/tests/data/exports.psv"));
    EXPECT_EQ(read_current_stats(1).rx_pkts, 0U);
    std::filesystem::remove(folder + "Intf-1700001800.psv");
    std::filesystem::create_symlink("/dev/full", folder + "Intf-1700001800.psv");
    EXPECT_EQ(export_slot(6), (Events{lan, closing, cellular, closing, "output: " + second}));
}

} // namespace
