// The one place that sleeps. A signal never shortens a wait: SIGCHLD reaches any thread of the process whenever another
// one runs a command.
#ifndef GW_CORE_BASE_WAITS_H
#define GW_CORE_BASE_WAITS_H

void wait_seconds(unsigned seconds);
void wait_milliseconds(unsigned milliseconds);

#endif
