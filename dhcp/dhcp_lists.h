// DHCP options, fixed addresses and excluded ranges. Main thread.
#ifndef GW_DHCP_DHCP_LISTS_H
#define GW_DHCP_DHCP_LISTS_H

#include <cstdint>

#include "confd.h"
#include "tollan.h"

// Always CONFD_OK.
int tarvo_config_dhcp_options(tollan_change_ctx *ctx, int op, int num_keys, confd_value_t *keys,
                              std::uint16_t num_values, confd_tag_value_t *values);
int tarvo_config_dhcp_mac_binding(tollan_change_ctx *ctx, int op, int num_keys, confd_value_t *keys,
                                  std::uint16_t num_values, confd_tag_value_t *values);
int tarvo_config_dhcp_excluded_addresses(tollan_change_ctx *ctx, int op, int num_keys, confd_value_t *keys,
                                         std::uint16_t num_values, confd_tag_value_t *values);

// CONFD_OK, or CONFD_ERR with the refusal's text set.
int tarvo_validate_dhcp_mac_binding(confd_trans_ctx *tctx, confd_hkeypath_t *kp, confd_value_t *newval);
int tarvo_validate_dhcp_excluded_range(confd_trans_ctx *tctx, confd_hkeypath_t *kp, confd_value_t *newval);

#endif
