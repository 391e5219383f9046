#include "dhcp/dhcp_lists.h"

int tarvo_config_dhcp_options(tollan_change_ctx * /*ctx*/, int /*op*/, int /*num_keys*/, confd_value_t * /*keys*/,
                              std::uint16_t /*num_values*/, confd_tag_value_t * /*values*/)
{
    return CONFD_OK; // not ready: changes have no effect until they are applied here
}

int tarvo_config_dhcp_mac_binding(tollan_change_ctx * /*ctx*/, int /*op*/, int /*num_keys*/, confd_value_t * /*keys*/,
                                  std::uint16_t /*num_values*/, confd_tag_value_t * /*values*/)
{
    return CONFD_OK; // not ready: changes have no effect until they are applied here
}

int tarvo_config_dhcp_excluded_addresses(tollan_change_ctx * /*ctx*/, int /*op*/, int /*num_keys*/,
                                         confd_value_t * /*keys*/, std::uint16_t /*num_values*/,
                                         confd_tag_value_t * /*values*/)
{
    return CONFD_OK; // not ready: changes have no effect until they are applied here
}

int tarvo_validate_dhcp_mac_binding(confd_trans_ctx * /*tctx*/, confd_hkeypath_t * /*kp*/, confd_value_t * /*newval*/)
{
    return CONFD_OK; // not ready: accepts until the rule is there
}

int tarvo_validate_dhcp_excluded_range(confd_trans_ctx * /*tctx*/, confd_hkeypath_t * /*kp*/,
                                       confd_value_t * /*newval*/)
{
    return CONFD_OK; // not ready: accepts until the rule is there
}
