// Traps to the configured targets, and the count of those that did not get out.
#ifndef GW_SNMP_TRAP_SENDER_H
#define GW_SNMP_TRAP_SENDER_H

#include <vector>

#include "protocol/client.h"
#include "snmp/config.h"

namespace snmp {

// Managers read them as the counters of GW-TRAP-MIB. Every change of one but the first is a line in the log.
struct TrapCounters {
    unsigned long sent = 0;             // per target
    unsigned long failed = 0;           // per target: the system refused to send
    unsigned long without_target = 0;   // nobody is configured
    unsigned long unknown_traps = 0;    // no identifier for the name: not sent
    unsigned long unknown_bindings = 0; // left out of a trap that was sent without them
};

// False when the agent library refuses.
bool register_trap_counters(TrapCounters *counters);

// An SNMPv2c trap to each of the targets, unacknowledged.
void send_trap(const proto::Event &event, const std::vector<Target> &targets, TrapCounters *counters);

} // namespace snmp

#endif
