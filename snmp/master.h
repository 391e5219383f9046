// The agent library, set up as an agent of its own: system group, access control, the tables of this program.
#ifndef GW_SNMP_MASTER_H
#define GW_SNMP_MASTER_H

#include <string>
#include <vector>

#include "snmp/options.h"
#include "snmp/tables.h"
#include "snmp/trap_sender.h"

namespace snmp {

struct Master {
    std::vector<int> ports; // handles of the addresses that are listened on
};

// Reads the file with communities and users. Listens nowhere yet. False when the library refuses.
bool start_master(const Options &options, Tables *tables, TrapCounters *counters);
void stop_master(Master *master);

// Listens on every address of the list, or on none of them: then false, and the log says which one failed.
bool open_ports(Master *master, const std::string &addresses);
void close_ports(Master *master);

} // namespace snmp

#endif
