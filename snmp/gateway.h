// What ties the agent library to the management agent: what is asked when, and what becomes of the answers.
#ifndef GW_SNMP_GATEWAY_H
#define GW_SNMP_GATEWAY_H

#include <deque>

#include "protocol/client.h"
#include "snmp/config.h"
#include "snmp/link.h"
#include "snmp/master.h"
#include "snmp/options.h"
#include "snmp/tables.h"
#include "snmp/trap_sender.h"

namespace snmp {

struct Gateway {
    Options options;
    Link link;
    Master master;
    Tables tables;
    TrapCounters counters;
    Config config;             // stays in force while the agent is away
    bool config_known = false; // false: read it again, traps wait for it
    std::deque<proto::Event> traps;
    Time next_try{}; // to listen, where that failed

    // Ids of the requests under way, 0 for none.
    std::uint32_t hello_id = 0;
    std::uint32_t config_id = 0;
    std::uint32_t tables_id = 0;
    Time tables_asked{};
    bool greeted = false;
};

bool start_gateway(Gateway *gateway);
// Everything that is due now, and what came from the agent.
void tend_gateway(Gateway *gateway, Time now);
// When tend_gateway() has something to do even if nothing comes.
Time next_due(const Gateway &gateway);

} // namespace snmp

#endif
