#include "monitor/psv_export.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <sys/time.h>

#include "core/base/handles.h"
#include "core/base/log.h"
#include "maker.h"
#include "show/if_map.h"
#include "show/interface_facts.h"

namespace {

constexpr std::size_t row_size = 999;
constexpr std::size_t path_size = 100;
constexpr std::size_t command_size = 140; // holds the longest path
constexpr std::size_t output_size = 8192;

constexpr const char *published_folder = "/tmp/psv/Intf";

// Every row begins with a line end, the first one's ends this line.
constexpr const char *header =
    "entry_time|interface|rx_pkts|rx_octets|rx_errors|rx_drops|rx_kbps|rx_pps|tx_pkts|tx_octets|tx_errors|tx_drops|"
    "tx_kbps|tx_pps|total_mbps|oper_status|admin_status|zel_idx|vrf_name|af_type|bw_up|bw_down|up_cap_percent|"
    "down_cap_percent|system_ip|zel_time|platform_type|vpn_id";

// What the consumer of the files expects in columns that say nothing about this appliance.
constexpr int total_mbps = 0;
constexpr int zel_idx = 15;
constexpr const char *vrf_name = "0";
constexpr int bandwidth = 100;
constexpr int vpn_id = 0;

char psv_file_path[path_size]; // the file being filled
int psv_rows_pending;          // complete steps in it; rows alone do not count

const char *family_text(std::uint32_t family)
{
    if (family == 2) return "IPv4";
    return family == 10 ? "IPv6" : "Unknown";
}

const char *status_text(std::uint8_t status)
{
    return status != 0 ? "up" : "down";
}

int kilobits(std::uint64_t bits)
{
    return static_cast<std::int32_t>(bits / 1000);
}

// Milliseconds since 1970.
long long time_of_day()
{
    timeval now{};
    gettimeofday(&now, nullptr);
    return now.tv_sec * 1000LL + now.tv_usec / 1000;
}

// At most 998 characters; the longest row has about 400.
void format_row(char (&row)[row_size], long long entry_time, const char *name, const IfStatSample &s,
                const LinkInfo &link)
{
    snprintf(row, sizeof row, "\n%lld|%s|%lu|%lu|%lu|%lu|%d|%lu|%lu|%lu|%lu|%lu|%d|%lu|%d|%s|%s|%d|%s|%s|%d|%d||||||%d",
             entry_time, name, s.rx_pkts, s.rx_octets, s.rx_errors, s.rx_drops, kilobits(s.rx_bps), s.rx_pps, s.tx_pkts,
             s.tx_octets, s.tx_errors, s.tx_drops, kilobits(s.tx_bps), s.tx_pps, total_mbps,
             status_text(link.oper_status), status_text(link.admin_status), zel_idx, vrf_name,
             family_text(link.addr_family), bandwidth, bandwidth, vpn_id);
}

// False when the file cannot be opened. What a full file system lost shows when the file is closed.
bool append(const char *text, const char *end)
{
    File file(fopen(psv_file_path, "ae"));
    if (!file) {
        log_guarded(LOG_ERR, "Unable to open file: %s", strerror(errno));
        return false;
    }
    fprintf(file.get(), "%s%s", text, end);
    if (fclose(file.release()) != 0) log_guarded(LOG_ERR, "Failed to close file: %s", strerror(errno));
    return true;
}

// False when the row is not in the file.
bool append_row(const char *device, const IfStatSample &sample)
{
    LinkRecord link{};
    const int result = zel_link_get(device, &link.info);
    if (result != 0) {
        log_guarded(LOG_ERR, "Error getting interface info: %d", result);
        return false;
    }
    const char *name = device_display_name(device);
    char row[row_size];
    format_row(row, time_of_day(), name != nullptr ? name : "", sample, link.info);
    return append(row, "\n");
}

void start_file()
{
    snprintf(psv_file_path, sizeof psv_file_path, "/tmp/tmp/Intf/Intf-%lld.psv", static_cast<long long>(time(nullptr)));
    append(header, "");
}

void publish()
{
    char command[command_size];
    char output[output_size];
    snprintf(command, sizeof command, "/usr/bin/psv_stats.sh %s %s", psv_file_path, published_folder);
    if (zel_execute_output(command, output, sizeof output) != 0) {
        log_guarded(LOG_ERR, "Failed to publish PSV stats");
        return;
    }
    psv_rows_pending = 0;
    start_file();
}

} // namespace

void psv_stats_file_init()
{
    start_file();
}

void write_psv_if_stats(bool last_row, const char *device, const IfStatSample *sample)
{
    const bool given = device != nullptr && sample != nullptr;
    if (given && append_row(device, *sample) && last_row) psv_rows_pending++;
    if (psv_rows_pending > 0) publish();
}
