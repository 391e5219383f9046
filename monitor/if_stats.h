// Interface statistics: the kernel's counters less the baseline of the last clear, sampled every six nominal seconds
// into a ring of ten, and the one-minute averages over it.
#ifndef GW_MONITOR_IF_STATS_H
#define GW_MONITOR_IF_STATS_H

#include <atomic>
#include <cstdint>

#include "confd.h"

// Counts since the last clear; octets are bytes, pps packets and bps bits per second. The order is the record's layout.
struct IfStatSample {
    std::uint64_t rx_pkts, rx_octets, rx_errors, rx_drops, rx_pps, rx_bps;
    std::uint64_t tx_pkts, tx_octets, tx_errors, tx_drops, tx_pps, tx_bps;
};

inline constexpr int if_stat_ring_size = 10;

struct IfStatHistory {
    IfStatSample ring[if_stat_ring_size];
    IfStatSample current;  // the newest sample with the averages of the ring as its rates: what is shown
    IfStatSample baseline; // the kernel's counters at the last clear; its rates are not used
};

inline constexpr int if_stat_devices = 2;

// Written by the monitor thread and by the clear-counters action under g_stats_guard, read without it. Every access
// from outside goes through read_current_stats().
extern IfStatHistory g_if_stats[if_stat_devices]; // 0 "wired0", 1 "cell_1_0"
extern std::atomic<int> g_if_stat_idx;            // ring position that the current step writes
extern std::atomic<int> g_prev_if_stat_idx;       // ring position that the previous step wrote
extern std::atomic<std::uint8_t> g_stats_guard;
extern std::atomic<int> g_psv_collect_counter; // nominal seconds since the last export

// Each field whole; one record may mix two consecutive samples.
IfStatSample read_current_stats(int device_index);

// Waits at most 5 x 100 ms for another writer, then goes on whether or not it is done.
void take_stats_guard();
void release_stats_guard();

// Everything to zero, indexes included.
void zero_if_stats();

// 0: the eight counters of `output` hold the device's counters less the baseline; 0 without reading for a null name; 1:
// the device is not listed; -1: /proc/net/dev cannot be opened. Rates stay as they are.
int read_proc_net_dev_stats(const char *device, const IfStatSample &baseline, IfStatSample &output);

// The rates of the sample at g_if_stat_idx, then `current` anew.
void calc_if_rates(int device_index, int previous_position);

// One statistics step of the monitor for both devices: exports when due, samples, moves the ring on.
void run_statistics_step();

// The action that starts all counters from zero. Always 0, without reply values.
int clear_counters_action(confd_user_info *uinfo, confd_xmltag *name, confd_hkeypath_t *kp, confd_tag_value_t *params,
                          int num_params);

#endif
