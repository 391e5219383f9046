// Registration of the data providers' callpoints.
#ifndef GW_CORE_DATA_PROVIDERS_H
#define GW_CORE_DATA_PROVIDERS_H

struct confd_daemon_ctx;

// Both return 0, or 1 at the first callpoint that cannot be registered; later ones are then not tried.
int tarvo_show_init(confd_daemon_ctx *dx); // interfaces, port mappings, DHCP, transceiver
int tarvo_snmp_init(confd_daemon_ctx *dx); // IF-MIB

#endif
