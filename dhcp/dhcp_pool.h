// The LAN DHCP pool: its record, its arithmetic, the dnsmasq file and the data-plane commands. Main thread.
#ifndef GW_DHCP_DHCP_POOL_H
#define GW_DHCP_DHCP_POOL_H

#include <cstdint>

#include "confd.h"
#include "tollan.h"

// IPv4 addresses in network byte order; compared as unsigned numbers in host order.
struct AddrRange {
    in_addr low;
    in_addr high;
};

struct DhcpPoolConf {
    confd_ipv4_prefix prefix; // as configured: host bits stay
    in_addr netmask;
    std::uint32_t lease_days;
    std::uint32_t lease_hours;
    std::uint32_t lease_minutes;
    AddrRange range; // what may be leased
    in_addr router;  // of the data plane: the clients' gateway
    in_addr host;    // of this machine: the clients' DNS server
    in_addr broadcast;
};

extern DhcpPoolConf dhcp_conf_g; // zero until the first pool was applied

// Text that is advertised as a second DNS server when it is not empty. Nothing here writes it.
extern char ipsec_tunnel_corp_dns[20];

// Writes dnsmasq's dynamic configuration file.
void set_dnsmasq_conf(const DhcpPoolConf &pool);

// Moves the LAN side of data plane and host to the pool's subnet; always right after set_dnsmasq_conf().
void apply_dhcp_pool_dataplane(const DhcpPoolConf &pool);

bool is_valid_dhcp_prefix_len(std::uint8_t length); // 24 to 30

AddrRange calc_dhcp_addr_range(const confd_ipv4_prefix *prefix); // null: 0, 0

int addr_range_size(const AddrRange *range); // addresses; -1 for null, 0 when high is low - 1

// Applies 10.0.23.0/24 with a lease of one day. Nothing calls it: a gateway starts with the agent's factory
// configuration.
void initialize_dft_dhcp_config();

// The lease range of the committed pool. 0, or -1 when it cannot be read.
int get_dhcp_addr_range(AddrRange &range);

// Always CONFD_OK.
int tarvo_config_dhcp_pool(tollan_change_ctx *ctx, int op, int num_keys, confd_value_t *keys, std::uint16_t num_values,
                           confd_tag_value_t *values);

// CONFD_OK, CONFD_VALIDATION_WARN or CONFD_ERR with the text set.
int tarvo_validate_dhcp_subnet_prefix(confd_trans_ctx *tctx, confd_hkeypath_t *kp, confd_value_t *newval);

#endif
