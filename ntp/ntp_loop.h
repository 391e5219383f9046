// The thread that keeps the clock in sync.
#ifndef GW_NTP_NTP_LOOP_H
#define GW_NTP_NTP_LOOP_H

// Thread entry; the argument is ignored. Never returns.
[[noreturn]] void *tarvo_ntp_loop(void *unused);

#endif
