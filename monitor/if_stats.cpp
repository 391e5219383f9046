#include "monitor/if_stats.h"

#include <cstddef>
#include <cstdio>
#include <iterator>

#include "core/base/handles.h"
#include "core/base/log.h"
#include "core/base/waits.h"
#include "monitor/proc_net_dev.h"
#include "monitor/psv_export.h"
#include "show/if_info.h"
#include "show/if_map.h"

IfStatHistory g_if_stats[if_stat_devices];
std::atomic<int> g_if_stat_idx;
std::atomic<int> g_prev_if_stat_idx;
std::atomic<std::uint8_t> g_stats_guard;
std::atomic<int> g_psv_collect_counter;

namespace {

static_assert(sizeof(IfStatSample) == 96 && offsetof(IfStatSample, rx_bps) == 40 &&
              offsetof(IfStatSample, tx_pkts) == 48 && offsetof(IfStatSample, tx_bps) == 88);
static_assert(offsetof(IfStatHistory, current) == 960 && sizeof(IfStatHistory) == 12 * sizeof(IfStatSample));
static_assert(interface_map[0].statistics_slot == 0 && interface_map[1].statistics_slot == 1);

constexpr std::uint64_t sampling_period = 6; // nominal seconds
constexpr int export_period = 600;           // nominal seconds
constexpr int guard_waits = 5;
constexpr unsigned guard_wait_milliseconds = 100;
constexpr std::size_t line_size = 512; // a line has at most 353; a longer one would count as several
constexpr int cellular_device = 1;     // the last one of a step

using Field = std::uint64_t IfStatSample::*;

constexpr Field counters[] = {
    &IfStatSample::rx_pkts, &IfStatSample::rx_octets, &IfStatSample::rx_errors, &IfStatSample::rx_drops,
    &IfStatSample::tx_pkts, &IfStatSample::tx_octets, &IfStatSample::tx_errors, &IfStatSample::tx_drops,
};

struct Rate {
    Field rate;
    Field counter;
    std::uint64_t unit; // of the rate in one of the counter
};

constexpr Rate rates[] = {
    {&IfStatSample::rx_pps, &IfStatSample::rx_pkts,   1},
    {&IfStatSample::tx_pps, &IfStatSample::tx_pkts,   1},
    {&IfStatSample::rx_bps, &IfStatSample::rx_octets, 8},
    {&IfStatSample::tx_bps, &IfStatSample::tx_octets, 8},
};
static_assert((std::size(counters) + std::size(rates)) * sizeof(std::uint64_t) == sizeof(IfStatSample));

// The records are shared without a lock: nothing but these two touches a field of one.
std::uint64_t load(const std::uint64_t &shared)
{
    // Atomic references to constants come with a later C++.
    return std::atomic_ref(const_cast<std::uint64_t &>(shared)).load(std::memory_order_relaxed);
}

void store(std::uint64_t &shared, std::uint64_t value)
{
    std::atomic_ref(shared).store(value, std::memory_order_relaxed);
}

IfStatSample load_sample(const IfStatSample &shared)
{
    IfStatSample sample{};
    for (const Field counter : counters) {
        sample.*counter = load(shared.*counter);
    }
    for (const Rate &row : rates) {
        sample.*row.rate = load(shared.*row.rate);
    }
    return sample;
}

void store_counters(IfStatSample &shared, const IfStatSample &sample)
{
    for (const Field counter : counters) {
        store(shared.*counter, sample.*counter);
    }
}

void store_rates(IfStatSample &shared, const IfStatSample &sample)
{
    for (const Rate &row : rates) {
        store(shared.*row.rate, sample.*row.rate);
    }
}

void store_sample(IfStatSample &shared, const IfStatSample &sample)
{
    store_counters(shared, sample);
    store_rates(shared, sample);
}

// All but the baseline.
void zero_samples(IfStatHistory &history)
{
    for (IfStatSample &sample : history.ring) {
        store_sample(sample, {});
    }
    store_sample(history.current, {});
}

void restart_ring()
{
    g_prev_if_stat_idx.store(0, std::memory_order_relaxed);
    g_if_stat_idx.store(0, std::memory_order_relaxed);
}

IfStatSample &current_slot(int device_index)
{
    return g_if_stats[device_index].ring[g_if_stat_idx.load(std::memory_order_relaxed)];
}

// Modulo 2^64. A device that counts anew, both directions below the baseline, is shown as the kernel counts it.
void subtract_baseline(IfStatSample &sample, const IfStatSample &baseline)
{
    if (baseline.rx_octets > sample.rx_octets && baseline.tx_octets > sample.tx_octets) return;
    for (const Field counter : counters) {
        sample.*counter -= baseline.*counter;
    }
}

// Over one sampling period; the old rate when the counter went back.
std::uint64_t rate_of(const Rate &row, const IfStatSample &sample, const IfStatSample &old)
{
    if (sample.*row.counter < old.*row.counter) return old.*row.rate;
    return (sample.*row.counter - old.*row.counter) * row.unit / sampling_period;
}

// The position itself until the ring has wrapped: the first sample has no rates and does not count.
int averaging_count(const IfStatHistory &history, int position)
{
    const IfStatSample &oldest = history.ring[(position + 1) % if_stat_ring_size];
    const bool unused = load(oldest.rx_octets) == 0 && load(oldest.tx_octets) == 0;
    return unused ? position : if_stat_ring_size;
}

// Modulo 2^64 before the division.
IfStatSample averaged(const IfStatHistory &history, int position, const IfStatSample &sample)
{
    IfStatSample current = sample;
    const int count = averaging_count(history, position);
    for (const Rate &row : rates) {
        for (int i = 0; i < count; i++) {
            if (i != position) current.*row.rate += load(history.ring[i].*row.rate);
        }
        if (count > 0) current.*row.rate /= static_cast<std::uint64_t>(count);
    }
    return current;
}

// Comes before the step's own sample: the row is the oldest sample of the ring, which the step is about to overwrite.
void export_slot(int device_index)
{
    const IfStatSample sample = load_sample(current_slot(device_index));
    const bool last_row = device_index == cellular_device;
    write_psv_if_stats(last_row, interface_map[device_index].device, &sample);
    if (last_row) g_psv_collect_counter.store(0, std::memory_order_relaxed);
}

void sample_device(int device_index)
{
    take_stats_guard();
    const IfStatSample &baseline = g_if_stats[device_index].baseline;
    if (read_proc_net_dev_stats(interface_map[device_index].device, baseline, current_slot(device_index)) == 0) {
        calc_if_rates(device_index, g_prev_if_stat_idx.load(std::memory_order_relaxed));
    }
    release_stats_guard();
}

// A modem that is down is exported with what it counted last.
void step_device(int device_index)
{
    const bool is_down = device_index == cellular_device && is_if_admin_up(interface_map[device_index].device) == 0;
    if (g_psv_collect_counter.load(std::memory_order_relaxed) >= export_period) export_slot(device_index);
    if (!is_down) sample_device(device_index);
}

} // namespace

IfStatSample read_current_stats(int device_index)
{
    return load_sample(g_if_stats[device_index].current);
}

// Exchanging closes the gap between seeing the guard free and setting it.
void take_stats_guard()
{
    for (int waits = 0; g_stats_guard.exchange(1, std::memory_order_acquire) != 0 && waits < guard_waits; waits++) {
        wait_milliseconds(guard_wait_milliseconds);
    }
}

void release_stats_guard()
{
    g_stats_guard.store(0, std::memory_order_release);
}

void zero_if_stats()
{
    for (IfStatHistory &history : g_if_stats) {
        zero_samples(history);
        store_sample(history.baseline, {});
    }
    restart_ring();
}

int read_proc_net_dev_stats(const char *device, const IfStatSample &baseline, IfStatSample &output)
{
    if (device == nullptr) return 0;
    const File file(fopen("/proc/net/dev", "re"));
    if (!file) return -1;
    char line[line_size];
    while (fgets(line, sizeof line, file.get()) != nullptr) {
        if (!is_net_dev_line_of(line, device)) continue;
        IfStatSample sample{};
        parse_net_dev_counters(line, sample);
        subtract_baseline(sample, load_sample(baseline));
        store_counters(output, sample);
        return 0;
    }
    return 1;
}

// `current` is put together aside, so that its readers never meet a sum that is not divided yet.
void calc_if_rates(int device_index, int previous_position)
{
    IfStatHistory &history = g_if_stats[device_index];
    const int position = g_if_stat_idx.load(std::memory_order_relaxed);
    const bool is_first = position == previous_position; // after the start or a clear
    const IfStatSample old = load_sample(history.ring[previous_position]);
    IfStatSample sample = load_sample(history.ring[position]);
    for (const Rate &row : rates) {
        sample.*row.rate = is_first ? 0 : rate_of(row, sample, old);
    }
    store_rates(history.ring[position], sample);
    store_sample(history.current, is_first ? sample : averaged(history, position, sample));
}

void run_statistics_step()
{
    for (int device_index = 0; device_index < if_stat_devices; device_index++) {
        step_device(device_index);
    }
    const int position = g_if_stat_idx.load(std::memory_order_relaxed);
    g_prev_if_stat_idx.store(position, std::memory_order_relaxed);
    g_if_stat_idx.store((position + 1) % if_stat_ring_size, std::memory_order_relaxed);
}

// A device that cannot be read keeps its baseline.
int clear_counters_action(confd_user_info * /*uinfo*/, confd_xmltag * /*name*/, confd_hkeypath_t * /*kp*/,
                          confd_tag_value_t * /*params*/, int /*num_params*/)
{
    take_stats_guard();
    const IfStatSample zero{};
    for (int i = 0; i < if_stat_devices; i++) {
        read_proc_net_dev_stats(interface_map[i].device, zero, g_if_stats[i].baseline);
        zero_samples(g_if_stats[i]);
    }
    restart_ring();
    release_stats_guard();
    log_guarded(LOG_INFO, "All network counters and stats are cleared");
    return CONFD_OK;
}
