// Whether the clock is in sync, and with which server it should be. NTP thread only.
#ifndef GW_NTP_NTP_CHECKS_H
#define GW_NTP_NTP_CHECKS_H

#include "ntp/ntp_text.h"

extern const char *const public_time_server; // host name or address; a build setting

extern int get_ctr; // checks in a row that the kernel alone answered

bool ntp_diagnostics_on();

// The status of the shell command as system() gives it.
int shell_status(const char *command);

// Whether the public time server's host answers. Waits up to 10 s for a connection.
bool is_net_reachable();

// Empties the server, then reads it from the server file.
void read_configured_server(NtpServer &server);

// 1 in sync, 0 not. The kernel's word counts five times, then the NTP daemon must confirm it.
int check_clock_sync();

#endif
