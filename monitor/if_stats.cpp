#include "monitor/if_stats.h"

IfStatHistory g_if_stats[if_stat_devices];
std::atomic<int> g_if_stat_idx;
std::atomic<int> g_prev_if_stat_idx;
std::atomic<std::uint8_t> g_stats_guard;
std::atomic<int> g_psv_collect_counter;

IfStatSample read_current_stats(int device_index)
{
    return g_if_stats[device_index].current; // not ready: nobody samples yet
}

void zero_if_stats() {}

void run_statistics_step() {}

int clear_counters_action(confd_user_info * /*uinfo*/, confd_xmltag * /*name*/, confd_hkeypath_t * /*kp*/,
                          confd_tag_value_t * /*params*/, int /*num_params*/)
{
    return CONFD_ERR; // not ready: there are no counters yet, and nobody shall be told that they were cleared
}
