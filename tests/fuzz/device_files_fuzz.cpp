// Readers of files and of commands' output, whole: the first byte chooses the reader, the rest is what its files hold,
// one after the other, with a byte of ones between them. A file too many does not exist.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

#include <net/if.h>

#include "board.h"
#include "config/cellular_info.h"
#include "core/base/command_runner.h"
#include "core/base/globals.h"
#include "dhcp/dhcp_leases.h"
#include "monitor/if_stats.h"
#include "monitor/monitor_loop.h"
#include "monitor/phy.h"
#include "monitor/traps.h"
#include "ntp/ntp_checks.h"
#include "pat/pat_table.h"
#include "quiet_log.h"
#include "show/click_address.h"
#include "show/if_info.h"

void CommandRunner(const char * /*command*/) {}
void log_system_call(const char * /*command*/) {}
void run_shell(const char * /*command*/) {}

namespace {

std::string_view files;

FILE *next_file()
{
    if (files.empty()) return nullptr;
    const std::size_t length = std::min(files.find('\xff'), files.size());
    FILE *file = fmemopen(nullptr, length + 1, "w+"); // a copy, and never of size 0
    fwrite(files.data(), 1, length, file);
    rewind(file);
    files.remove_prefix(std::min(length + 1, files.size()));
    return file;
}

// On the heap and no larger than promised, for the sanitizer to see a byte too many.
struct Buffer {
    std::size_t size;
    std::unique_ptr<char[]> text;

    explicit Buffer(std::size_t bytes) : size(bytes), text(new char[bytes]) { snprintf(text.get(), size, "?"); }
    char *get() const { return text.get(); }
};

void check_text(const Buffer &buffer)
{
    if (memchr(buffer.get(), '\0', buffer.size) == nullptr) abort();
}

void read_sysfs()
{
    const int up = is_if_admin_up("wired0");
    if (up != 0 && up != 1) abort();
    get_if_mtu("wired0");
    get_board_id();
}

void read_phy()
{
    const int status = read_phy_status();
    if (status != 0 && status != 1) abort();
}

void read_click()
{
    const Buffer ip(16);
    const Buffer mask(16);
    const Buffer ip6(46);
    std::uint8_t length = 0;
    const int status = tarvo_read_ip_from_click("cell_1_0", ip.get(), mask.get(), ip6.get(), &length);
    if ((status == 0 && length == 0) || (length != 0 && length != 64)) abort();
    tarvo_trap_read_ip_from_click("/click/routing/wan0_arpq", ip.get(), mask.get());
    for (const Buffer *text : {&ip, &mask, &ip6})
        check_text(*text);
}

void read_ifconfig()
{
    const Buffer ip(16);
    const Buffer mask(16);
    tarvo_read_ip_from_click("wired0", ip.get(), mask.get(), nullptr, nullptr);
    check_text(ip);
    check_text(mask);
}

void read_time_server()
{
    NtpServer server;
    read_configured_server(server);
    if (memchr(server.text, '\0', sizeof server.text) == nullptr) abort();
}

void read_mappings()
{
    const int count = read_pat_file();
    if (count < 0 || count >= pat_table_size) abort();
}

void read_leases()
{
    DhcpLease *leases = nullptr;
    const std::string_view twice = files; // the file is read once to count and once to parse
    if (get_num_dhcp_leases() < 0) abort();
    files = twice;
    const int count = read_dhcp_leases_file(&leases);
    for (int i = 0; i < count; i++) {
        if (find_dhcp_lease(leases, count, leases[i].address) == nullptr) abort();
    }
    free(leases);
}

void read_counters()
{
    IfStatSample sample{};
    read_proc_net_dev_stats("wired0", {}, sample);
}

// The address that the monitor watches and the reason of the last reboot.
void run_monitor()
{
    MonitorState state;
    snmp_enable = 1;
    snmp_trap_enable = 1;
    reboot_reason_sent = 0;
    run_monitor_cycle(state);
}

void count_routes()
{
    if (count_route_table_lines() < 0) abort();
}

constexpr void (*readers[])() = {read_sysfs,    read_phy,    read_click,    read_ifconfig, read_time_server,
                                 read_mappings, read_leases, read_counters, run_monitor,   count_routes};

} // namespace

// The engine is linked in as well, and its files are real.
extern "C" {
FILE *__real_fopen(const char *path, const char *mode);
int __real_unlink(const char *path);

FILE *__wrap_fopen(const char *path, const char *mode)
{
    return strcmp(mode, "re") == 0 ? next_file() : __real_fopen(path, mode);
}

FILE *__wrap_popen(const char * /*command*/, const char * /*mode*/)
{
    return next_file();
}

int __wrap_pclose(FILE *file)
{
    return fclose(file);
}

int __wrap_unlink(const char *path)
{
    return strcmp(path, "/pat.txt") == 0 ? 0 : __real_unlink(path);
}

// Every device runs.
int __wrap_ioctl(int /*fd*/, unsigned long /*code*/, ifreq *request)
{
    request->ifr_flags = IFF_RUNNING;
    return 0;
}

void __wrap__Z23send_reboot_reason_trapPKc(const char *reason)
{
    if (strlen(reason) > 55) abort();
}

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size == 0) return 0;
    files = {reinterpret_cast<const char *>(data) + 1, size - 1};
    readers[data[0] % std::size(readers)]();
    return 0;
}
}
