// The agent library's headers, in the order that they want. Its names stay in the global namespace.
#ifndef GW_SNMP_NETSNMP_H
#define GW_SNMP_NETSNMP_H

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

#include <net-snmp/agent/net-snmp-agent-includes.h>

#endif
