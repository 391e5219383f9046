// Stepping the clock and restarting the NTP daemon. NTP thread only.
#ifndef GW_NTP_NTP_RECOVERY_H
#define GW_NTP_NTP_RECOVERY_H

#include "ntp/ntp_text.h"

extern int ntp_sync_count; // clock steps that succeeded; below 3 every tick tries one

// Steps the clock from the public time server, else from the configured one, when the network is there.
void step_clock_at_start(NtpServer &server);

// Restarts the NTP daemon after `not_in_sync` checks that found the clock out of sync, steps the clock from the
// configured server and counts the attempt. Takes 2 s and what the commands take.
void recover_ntp(NtpServer &server, unsigned not_in_sync, unsigned &recovery_attempts);

#endif
