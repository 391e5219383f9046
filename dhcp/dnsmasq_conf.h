// dnsmasq's dynamic configuration file as text. Pure.
#ifndef GW_DHCP_DNSMASQ_CONF_H
#define GW_DHCP_DNSMASQ_CONF_H

#include "dhcp/dhcp_pool.h"

// The lines in the order of the file, each with its line end.
struct DnsmasqConf {
    char range[80];
    char dns_server[80];
    char router[64];
};

// `second_dns` is advertised after the host unless it is empty; cut to 19 characters, so that every line fits.
DnsmasqConf render_dnsmasq_conf(const DhcpPoolConf &pool, const char *second_dns);

#endif
