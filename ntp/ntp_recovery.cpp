#include "ntp/ntp_recovery.h"

#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

#include "core/base/handles.h"
#include "core/base/log.h"
#include "core/base/waits.h"
#include "ntp/ntp_checks.h"

int ntp_sync_count = 0;

namespace {

constexpr const char *ntpd_control = "/tmp/ntpd/start_ntpd"; // of the NTP daemon's starter: 0 stop, 1 start
constexpr int enough_steps = 3;
constexpr int steps_after_recovery = 1; // two more to go

bool run_ntpdate(const char *server)
{
    char command[320]; // a host name has at most 253 characters
    snprintf(command, sizeof command, "ntpdate -u %s", server);
    return shell_status(command) == 0;
}

void step_from_configured_server(NtpServer &server)
{
    read_configured_server(server);
    if (server.text[0] == '\0') return;
    if (!run_ntpdate(server.text)) {
        log_guarded(LOG_INFO, "ntpdate %s failed", server.text);
        return;
    }
    log_guarded(LOG_INFO, "ntpdate %s success", server.text);
    ++ntp_sync_count;
}

// Overwrites the beginning of a file that its reader made.
void write_control_file(const char *path, const char *bytes, std::size_t length)
{
    const Descriptor file(open(path, O_WRONLY | O_CLOEXEC));
    if (file.fd < 0) {
        log_guarded(LOG_INFO, "Unable to open file %d", file.fd);
        return;
    }
    if (write(file.fd, bytes, length) < static_cast<ssize_t>(length)) {
        log_guarded(LOG_INFO, "File %s write error", path);
    }
}

} // namespace

void step_clock_at_start(NtpServer &server)
{
    if (ntp_sync_count >= enough_steps || !is_net_reachable()) return;
    if (!run_ntpdate(public_time_server)) {
        step_from_configured_server(server);
        return;
    }
    log_guarded(LOG_INFO, " ntpdate successful  ");
    ++ntp_sync_count;
}

void recover_ntp(NtpServer &server, unsigned not_in_sync, unsigned &recovery_attempts)
{
    if (recovery_attempts <= 2 || not_in_sync % 15 == 0) write_control_file(ntpd_control, "0", 1);
    wait_seconds(2);
    ntp_sync_count = steps_after_recovery;
    step_from_configured_server(server);
    ++recovery_attempts;
    write_control_file(ntpd_control, "1", 1);
    log_guarded(LOG_ERR, "NTP Recovery: restarted recovery_attempts %d", static_cast<int>(recovery_attempts));
}
