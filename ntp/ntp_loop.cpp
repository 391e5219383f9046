#include "ntp/ntp_loop.h"

#include "core/base/log.h"
#include "core/base/waits.h"
#include "ntp/ntp_checks.h"
#include "ntp/ntp_recovery.h"

namespace {

constexpr unsigned tick_seconds = 30;
constexpr int ticks_between_reads = 10;
constexpr int ticks_between_checks = 2;
constexpr int holdoff_at_start = 4; // ticks
constexpr int holdoff_in_sync = 3;
constexpr unsigned checks_before_recovery = 5;

struct NtpLoop {
    int server_refresh = 0; // ticks until the server file is read again
    bool server_enabled = false;
    int holdoff = holdoff_at_start; // ticks until a check is due
    int ticks_since_check = 0;
    unsigned not_in_sync = 0; // checks in a row
    unsigned recovery_attempts = 0;
    NtpServer server{};
};

void refresh_server(NtpLoop &loop)
{
    if (loop.server_refresh != 0) {
        --loop.server_refresh;
        return;
    }
    loop.server_refresh = ticks_between_reads;
    read_configured_server(loop.server);
    loop.server_enabled = loop.server.text[0] != '\0';
    log_guarded(LOG_INFO, "NTP server %s (enabled=%d)", loop.server.text, loop.server_enabled ? 1 : 0);
}

void note_in_sync(NtpLoop &loop)
{
    if (ntp_diagnostics_on()) log_guarded(LOG_ERR, "NTP: ctrs reset");
    loop.holdoff = holdoff_in_sync;
    loop.not_in_sync = 0;
    loop.recovery_attempts = 0;
}

void note_out_of_sync(NtpLoop &loop)
{
    ++loop.not_in_sync;
    if (ntp_diagnostics_on()) {
        log_guarded(LOG_ERR, "NTP: Not in sync since %d", static_cast<int>(loop.not_in_sync));
    }
    if (loop.not_in_sync % checks_before_recovery == 0) {
        recover_ntp(loop.server, loop.not_in_sync, loop.recovery_attempts);
    }
    loop.holdoff = 0;
}

void check_when_due(NtpLoop &loop)
{
    if (loop.ticks_since_check < ticks_between_checks || loop.holdoff != 0 || !loop.server_enabled) return;
    if (check_clock_sync() == 1) {
        note_in_sync(loop);
    } else {
        note_out_of_sync(loop);
    }
    loop.ticks_since_check = 0;
}

void tick(NtpLoop &loop)
{
    step_clock_at_start(loop.server);
    refresh_server(loop);
    check_when_due(loop);
    ++loop.ticks_since_check;
    if (loop.holdoff != 0) --loop.holdoff;
    wait_seconds(tick_seconds);
}

} // namespace

void *tarvo_ntp_loop(void * /*unused*/)
{
    NtpLoop loop;
    for (;;) {
        tick(loop);
    }
}
