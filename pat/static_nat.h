// Static port forwarding: the whole rule list goes to the data plane at every change. Main thread.
#ifndef GW_PAT_STATIC_NAT_H
#define GW_PAT_STATIC_NAT_H

#include <cstdint>

#include "confd.h"
#include "tollan.h"

// Always CONFD_OK.
int tarvo_config_ip_static_nat(tollan_change_ctx *ctx, int op, int num_keys, confd_value_t *keys,
                               std::uint16_t num_values, confd_tag_value_t *values);

#endif
