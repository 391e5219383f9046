// The IF-MIB's objects as the agent library asks for them. A request is answered from data that is at most a second
// old, or set aside until newer data has come; no handler waits.
#ifndef GW_SNMP_TABLES_H
#define GW_SNMP_TABLES_H

#include <vector>

#include "snmp/clock.h"
#include "snmp/netsnmp.h"
#include "snmp/snapshot.h"

namespace snmp {

struct Waiting {
    netsnmp_delegated_cache *cache = nullptr;
    Time until{};
};

struct Tables {
    Snapshot snapshot;
    bool has_data = false; // false: the last read failed, or there was none
    Time taken{};          // when the agent was asked for what is in the snapshot, or in vain
    Time last_request = Time::min();
    std::vector<Waiting> waiting; // at most 64 calls; more are answered with genErr at once
};

// The tables must outlive the agent library. False when it refuses.
bool register_tables(Tables *tables);

// When the agent is to be asked next: at once while a request waits; before the data is a second old within 10 s of a
// request; else never.
Time next_refresh(const Tables &tables);
// Those that wait get their answer, or genErr when the snapshot is not usable.
void refreshed(Tables *tables, Snapshot snapshot, Time asked);
// Answers those that have waited for two seconds with genErr.
void expire(Tables *tables, Time now);
Time next_expiry(const Tables &tables);

} // namespace snmp

#endif
