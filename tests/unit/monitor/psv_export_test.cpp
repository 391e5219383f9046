// Exports as the monitor makes them, over the fake kernel table of the statistics' tests.
#include <sys/time.h>

#include <gtest/gtest.h>

#include "core/base/globals.h"
#include "fakes/platform.h"
#include "fakes/transcript.h"
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

const std::string folder = "/tmp/tmp/Intf/";

static void export_slot(int idx)
{
    fakes::record("== slot " + std::to_string(idx));
    now += 600;
    g_if_stat_idx = idx;
    g_psv_collect_counter = 600;
    run_statistics_step();
    EXPECT_EQ(g_psv_collect_counter, 0);
}

TEST(PsvExport, KeepsRowsUntilTheyArePublished)
{
    const std::string first_file = folder + "Intf-1700000000.psv", last_file = folder + "Intf-1700001800.psv";
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
    export_slot(3);
    links["cell_1_0"].addr_family = 10;
    links["cell_1_0"].admin_status = 1;
    export_slot(4);
    links["wired0"].addr_family = 0;
    for (const std::string &file : {first_file, last_file})
        fakes::outcomes.outputs["/usr/bin/psv_stats.sh " + file + " /tmp/psv/Intf"] = "";
    export_slot(5);
    fakes::record("== the LAN's row found a step pending and took it along; the modem's is all of the next file");
    fakes::record(fakes::read_file(first_file) + "== the next file\n" + fakes::read_file(last_file));
    EXPECT_EQ(read_current_stats(1).rx_pkts, 0U);
    std::filesystem::remove(last_file);
    std::filesystem::create_symlink("/dev/full", last_file);
    export_slot(6);
    fakes::expect_recorded("monitor/exports.txt");
}
