#include "monitor/monitor_loop.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sys/socket.h>
#include <unistd.h>

#include "board.h"
#include "confd.h"
#include "core/base/cdb_sessions.h"
#include "core/base/command_runner.h"
#include "core/base/globals.h"
#include "core/base/handles.h"
#include "core/base/log.h"
#include "core/base/tag_values.h"
#include "core/base/waits.h"
#include "monitor/if_stats.h"
#include "monitor/phy.h"
#include "monitor/traps.h"
#include "monitor/xsmi.h"
#include "show/if_info.h"
#include "show/if_map.h"

std::uint8_t reboot_reason_sent = 0;

namespace {

constexpr unsigned cycle_seconds = 3;
constexpr int probe_limit = 2588399;    // thirty days less an hour, less a second
constexpr int stats_limit = 5;          // every second cycle
constexpr long reboot_trap_limit = 999; // seconds of uptime

constexpr int data_plane_passes = 3;
constexpr const char *lan_mode_command = "echo 1 > /click/wired0_lan_mode/run";
constexpr const char *lldp_command = "echo 1 > /click/lldp_nbx_enable/run";
constexpr const char *nat_command = "echo 16000 > /click/routing/wan0_nat_rw_to_inet/capacity";
constexpr const char *probe_command = "echo 2592000 > /click/routing/wan0_gw_arp_prober/probe_interval";

constexpr std::uint64_t xsmi_base = 0xf212a200;

constexpr const char *wan_element = "/click/routing/wan0_arpq";
constexpr const char *reboot_status_path = "/var/log/watchdog_last.status";
constexpr std::size_t reboot_prefix = 8; // characters in front of the reason

constexpr std::size_t line_size = 64; // longer lines are cut

// The first line, zeros behind it; false when the file cannot be opened.
bool read_first_line(const char *path, char (&line)[line_size])
{
    memset(line, 0, sizeof line);
    const File file(fopen(path, "re"));
    if (!file) return false;
    [[maybe_unused]] const char *read = fgets(line, sizeof line, file.get());
    return true;
}

// ---- start-up

// The connected socket, or -1 with nothing left open.
int connect_data_socket()
{
    const sockaddr_in address = agent_socket_address();
    const int sock = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (sock < 0) {
        log_guarded(LOG_ERR, "Cannot allocate socket (errno: %d)", errno);
        return -1;
    }
    const int result = cdb_connect(sock, CDB_DATA_SOCKET, reinterpret_cast<const sockaddr *>(&address), sizeof address);
    if (result == CONFD_OK) return sock;
    log_guarded(LOG_INFO, "Cannot connect to CDB (%d)%s (%d) : %s", result, confd_strerror(confd_errno), confd_errno,
                confd_lasterr());
    close(sock);
    return -1;
}

// 18 s, also on boards that skip a command.
void set_up_data_plane(int board_id)
{
    for (int pass = 0; pass < data_plane_passes; pass++) {
        run_shell(lan_mode_command);
        wait_seconds(2);
        if (board_id == 1) run_shell(lldp_command);
        wait_seconds(2);
        run_shell(nat_command);
        wait_seconds(2);
    }
}

bool load_phy_driver(MTD_DEV *dev)
{
    const MTD_STATUS status = mtdLoadDriver(marvell_mtd_xsmi_read, marvell_mtd_xsmi_write, 0, nullptr, nullptr, nullptr,
                                            nullptr, phy_port, dev);
    if (status == MTD_OK) return true;
    log_guarded(LOG_ERR, "Load driver failed %d", status);
    log_guarded(LOG_ERR, "Failed mtd driver init");
    return false;
}

bool attach_phy(MonitorState &state)
{
    state.mtd_dev = static_cast<MTD_DEV *>(calloc(1, sizeof(MTD_DEV)));
    if (state.mtd_dev == nullptr) {
        log_guarded(LOG_ERR, "Failed to malloc MTD_DEV");
        return false;
    }
    XsmiDevice *xsmi = nullptr;
    if (create_xsmi_dev(&xsmi, xsmi_base, phy_port, "xsmi-a") != 0) {
        log_guarded(LOG_ERR, "Failed to create xsmi device");
        return false;
    }
    state.mtd_dev->app_data = xsmi;
    return load_phy_driver(state.mtd_dev);
}

// ---- one cycle

void write_probe_interval(MonitorState &state)
{
    state.probe_counter += cycle_seconds;
    if (state.probe_counter <= probe_limit) return;
    state.probe_counter = 0;
    run_shell(probe_command);
    wait_seconds(1);
}

// The display name of the first modem that runs; null: none does.
const char *running_modem()
{
    for (const char *device : {"cell_1_0", "cell_1_1"}) {
        if (is_if_running(device) != 0) return device_display_name(device);
    }
    return nullptr;
}

// What cannot be read stays as it was, here also the empty text of the start: a change like any other.
void watch_wan_address(MonitorState &state)
{
    const bool has_targets = snmp_trap_enable.load(std::memory_order_relaxed) != 0;
    if (snmp_enable.load(std::memory_order_relaxed) == 0 || !has_targets) return;
    if (state.old_ip[0] == '\0') {
        tarvo_trap_read_ip_from_click(wan_element, state.old_ip, state.old_mask);
        return;
    }
    tarvo_trap_read_ip_from_click(wan_element, state.new_ip, state.new_mask);
    if (strcmp(state.new_ip, state.old_ip) == 0 && strcmp(state.new_mask, state.old_mask) == 0) return;
    const char *modem = running_modem();
    if (modem == nullptr) return; // found again in the next cycle
    send_ip_change_trap(modem, state.old_ip, state.new_ip, state.old_mask, state.new_mask);
    memcpy(state.old_ip, state.new_ip, sizeof state.old_ip);
    memcpy(state.old_mask, state.new_mask, sizeof state.old_mask);
}

void report_reboot_reason()
{
    // An unknown uptime (-1) counts as a fresh boot.
    if (reboot_reason_sent != 0 || get_system_uptime() > reboot_trap_limit || running_modem() == nullptr) return;
    char line[line_size];
    if (!read_first_line(reboot_status_path, line)) return;
    send_reboot_reason_trap(line + reboot_prefix);
    reboot_reason_sent = 1;
}

void follow_media(MonitorState &state)
{
    if (!state.has_10g_phy) return;
    const bool wants_10g = g_gig_media_type.load(std::memory_order_relaxed) == 0;
    if (wants_10g != state.phy_10g_configured) phy_configure(state.mtd_dev, wants_10g);
    state.phy_10g_configured = wants_10g;
    if (wants_10g) phy_link_indication(state.mtd_dev, read_phy_status() != 0);
}

void write_lan_state(int sock, int lan_state)
{
    log_guarded(LOG_ERR, "LAN state is %d\n", lan_state);
    if (cdb_cd(sock, "/led/status") != CONFD_OK) {
        log_guarded(LOG_ERR, "Failed to cd to /led/status %s (%d) : %s", confd_strerror(confd_errno), confd_errno,
                    confd_lasterr());
    }
    const confd_value_t value = int32_value(lan_state);
    if (cdb_set_elem(sock, &value, "/led/status/lan") != CONFD_OK) {
        log_guarded(LOG_ERR, "Failed to update /led/status/lan %s (%d) : %s", confd_strerror(confd_errno), confd_errno,
                    confd_lasterr());
    }
}

// False when there is no session to be had.
bool mirror_lan_state(MonitorState &state)
{
    const int lan_state = is_if_running("wired0");
    if (lan_state == state.lan_state_prev) return true;
    if (cdb_start_session2(state.cdb_sock, CDB_OPERATIONAL, CDB_LOCK_SESSION | CDB_LOCK_PARTIAL) != CONFD_OK) {
        log_guarded(LOG_ERR, "Failed to start cdb session %s (%d) : %s", confd_strerror(confd_errno), confd_errno,
                    confd_lasterr());
        return false;
    }
    if (cdb_exists(state.cdb_sock, "/led/status") != 0) write_lan_state(state.cdb_sock, lan_state);
    cdb_end_session(state.cdb_sock);
    state.lan_state_prev = lan_state; // a failed write is not tried again
    return true;
}

void sample_statistics(MonitorState &state)
{
    state.stats_counter += cycle_seconds;
    g_psv_collect_counter.fetch_add(cycle_seconds, std::memory_order_relaxed);
    if (state.stats_counter <= stats_limit) return;
    run_statistics_step();
    state.stats_counter = 0;
}

} // namespace

bool start_monitor(MonitorState &state)
{
    zero_if_stats();
    state.cdb_sock = connect_data_socket();
    if (state.cdb_sock < 0) return false;
    state.board_id = get_board_id();
    state.has_10g_phy = state.board_id == 1 || state.board_id == 4;
    set_up_data_plane(state.board_id);
    return !state.has_10g_phy || attach_phy(state);
}

bool run_monitor_cycle(MonitorState &state)
{
    write_probe_interval(state);
    watch_wan_address(state);
    report_reboot_reason();
    follow_media(state);
    if (!mirror_lan_state(state)) return false;
    wait_seconds(cycle_seconds);
    sample_statistics(state);
    return true;
}

void stop_monitor(MonitorState &state)
{
    if (state.cdb_sock >= 0) cdb_close(state.cdb_sock);
    if (state.mtd_dev == nullptr) return;
    auto *xsmi = static_cast<XsmiDevice *>(state.mtd_dev->app_data);
    if (xsmi != nullptr) destroy_xsmi_dev(xsmi);
    free(state.mtd_dev);
}

void *tarvo_monitor_interface(void * /*daemon*/)
{
    MonitorState state;
    bool going_on = start_monitor(state);
    while (going_on) {
        going_on = run_monitor_cycle(state);
    }
    stop_monitor(state);
    return nullptr;
}

long get_system_uptime()
{
    char line[line_size];
    if (!read_first_line("/proc/uptime", line)) return -1;
    return strtol(line, nullptr, 10); // the fraction is dropped
}
