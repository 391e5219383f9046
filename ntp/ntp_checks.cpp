#include "ntp/ntp_checks.h"

#include <cstdio>
#include <cstdlib>
#include <sys/timex.h>

#include "core/base/globals.h"
#include "core/base/handles.h"
#include "core/base/log.h"
#include "maker.h"

const char *const public_time_server = GW_TIME_SERVER;

int get_ctr = 0;

namespace {

constexpr int trusted_kernel_answers = 5;
constexpr int curl_refused = 7; // the name was resolved and the host answered

int ask_ntpq()
{
    char output[1024];
    if (zel_execute_output("/usr/sbin/ntpq -crv", output, sizeof output) != 0) {
        log_guarded(LOG_INFO, "NTP Unable to read ntpq op");
        return -1;
    }
    const int answer = ntpq_answer(output);
    if (answer >= 0 && ntp_diagnostics_on()) {
        log_guarded(LOG_ERR, "%s", answer == 1 ? "NTP: sync_ntp found" : "NTP: ntpq return no-sync");
    }
    return answer;
}

bool kernel_says_in_sync()
{
    ntptimeval now{};
    return ntp_gettimex(&now) == TIME_OK;
}

} // namespace

bool ntp_diagnostics_on()
{
    return ntp_full_debug.load(std::memory_order_relaxed) != 0;
}

int shell_status(const char *command)
{
    return system(command);
}

bool is_net_reachable()
{
    char command[320]; // a host name has at most 253 characters
    snprintf(command, sizeof command, "curl %s --connect-timeout 10", public_time_server);
    const int status = shell_status(command) >> 8 & 0xff;
    const bool reachable = status == 0 || status == curl_refused;
    log_guarded(LOG_INFO, "%s", reachable ? " net reachable  " : " net not reachable  ");
    return reachable;
}

void read_configured_server(NtpServer &server)
{
    server = {};
    const File file(fopen("/tmp/ntp_server_ip", "re"));
    if (!file) {
        log_guarded(LOG_INFO, "Error opening /tmp/ntp_server_ip\n");
        return;
    }
    LineBuffer line;
    // The first address; a file with none gives what its last line has, such as a name.
    while (getline(&line.text, &line.size, file.get()) >= 0) {
        if (take_server(line.text, server) && is_ipv4(server)) break;
    }
}

int check_clock_sync()
{
    if (get_ctr < trusted_kernel_answers && kernel_says_in_sync()) {
        ++get_ctr;
        if (ntp_diagnostics_on()) log_guarded(LOG_ERR, "NTP: get_time in sync get_ctr %d", get_ctr);
        return 1;
    }
    const int answer = ask_ntpq();
    if (answer < 0) return 1; // nobody to ask: no reason to restart the NTP daemon
    if (answer == 1) get_ctr = 0;
    if (ntp_diagnostics_on()) log_guarded(LOG_ERR, "%s", answer == 1 ? "NTP: ntpq in sync" : "NTP: Not in sync");
    return answer;
}
