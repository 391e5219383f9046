// Readers of files and of commands' output, whole: the first byte chooses the reader, the rest is what its files hold,
// one after the other, with a byte of ones between them. A file too many does not exist.
#include <cstring>

#include <net/if.h>

#include "board.h"
#include "config/cellular_info.h"
#include "core/base/globals.h"
#include "dhcp/dhcp_leases.h"
#include "monitor/if_stats.h"
#include "monitor/monitor_loop.h"
#include "monitor/phy.h"
#include "monitor/traps.h"
#include "ntp/ntp_checks.h"
#include "pat/pat_table.h"
#include "quiet.h"
#include "show/click_address.h"
#include "show/if_info.h"
#include "target.h"

namespace {

std::string_view files;

FILE *next_file()
{
    return files.empty() ? nullptr : file_of(take_until(&files, '\xff'));
}

bool is_below(int limit, int number)
{
    return number >= 0 && number < limit;
}

// What was promised to be a text.
template <std::size_t size> void require_end(const char (&text)[size])
{
    require(memchr(text, '\0', size) != nullptr);
}

void read_sysfs()
{
    require(is_below(2, is_if_admin_up("wired0")));
    get_if_mtu("wired0");
    get_board_id();
}

void read_click()
{
    char ip[16] = "?";
    char mask[16] = "?";
    char ip6[46] = "?";
    std::uint8_t length = 0;
    const int status = tarvo_read_ip_from_click("cell_1_0", ip, mask, ip6, &length);
    require(length == 64 || (length == 0 && status != 0));
    tarvo_trap_read_ip_from_click("/click/routing/wan0_arpq", ip, mask);
    require_end(ip);
    require_end(mask);
    require_end(ip6);
}

void read_ifconfig()
{
    char ip[16] = "?";
    char mask[16] = "?";
    tarvo_read_ip_from_click("wired0", ip, mask, nullptr, nullptr);
    require_end(ip);
    require_end(mask);
}

void read_time_server()
{
    NtpServer server;
    read_configured_server(server);
    require_end(server.text);
}

void read_leases()
{
    DhcpLease *leases = nullptr;
    const std::string_view twice = files; // the file is read once to count and once to parse
    require(get_num_dhcp_leases() >= 0);
    files = twice;
    const int count = read_dhcp_leases_file(&leases);
    for (int i = 0; i < count; i++)
        require(find_dhcp_lease(leases, count, leases[i].address) != nullptr);
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
    snmp_enable = snmp_trap_enable = 1;
    reboot_reason_sent = 0;
    run_monitor_cycle(state);
}

constexpr void (*readers[])() = {
    read_sysfs,       [] { require(is_below(2, read_phy_status())); },
    read_click,       read_ifconfig,
    read_time_server, [] { require(is_below(pat_table_size, read_pat_file())); },
    read_leases,      read_counters,
    run_monitor,      [] { require(count_route_table_lines() >= 0); },
};

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
    require(strlen(reason) <= 55);
}
}

void check(std::string_view input)
{
    const std::uint8_t reader = take_byte(&input);
    files = input;
    readers[reader % std::size(readers)]();
}
