#include "dhcp/dhcp_pool.h"

int tarvo_config_dhcp_pool(tollan_change_ctx * /*ctx*/, int /*op*/, int /*num_keys*/, confd_value_t * /*keys*/,
                           std::uint16_t /*num_values*/, confd_tag_value_t * /*values*/)
{
    return CONFD_OK; // not ready: changes have no effect until they are applied here
}

int tarvo_validate_dhcp_subnet_prefix(confd_trans_ctx * /*tctx*/, confd_hkeypath_t * /*kp*/, confd_value_t * /*newval*/)
{
    return CONFD_OK; // not ready: accepts until the rule is there
}

DhcpPoolConf dhcp_conf_g;
char ipsec_tunnel_corp_dns[20];

// Not ready.
void set_dnsmasq_conf(const DhcpPoolConf & /*pool*/) {}
void apply_dhcp_pool_dataplane(const DhcpPoolConf & /*pool*/) {}

int get_dhcp_addr_range(AddrRange & /*range*/)
{
    return -1;
}
