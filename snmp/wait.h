// The one loop: the agent library's descriptors, the agent's, and the signals that end it.
#ifndef GW_SNMP_WAIT_H
#define GW_SNMP_WAIT_H

#include "snmp/gateway.h"

namespace snmp {

// SIGTERM and SIGINT become readable, SIGPIPE is ignored. -1 when the kernel refuses.
int open_signals();
// Until a signal: true. False when waiting itself failed.
bool run_loop(Gateway *gateway, int signals);

} // namespace snmp

#endif
