// The LAN DHCP pool. Main thread.
#ifndef GW_DHCP_DHCP_POOL_H
#define GW_DHCP_DHCP_POOL_H

#include <cstdint>

#include "confd.h"
#include "tollan.h"

// Always CONFD_OK.
int tarvo_config_dhcp_pool(tollan_change_ctx *ctx, int op, int num_keys, confd_value_t *keys, std::uint16_t num_values,
                           confd_tag_value_t *values);

// CONFD_OK, CONFD_VALIDATION_WARN or CONFD_ERR with the text set.
int tarvo_validate_dhcp_subnet_prefix(confd_trans_ctx *tctx, confd_hkeypath_t *kp, confd_value_t *newval);

#endif
