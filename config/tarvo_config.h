// The LAN port's address and media type, and the validation points of the interface configuration. Main thread.
#ifndef GW_CONFIG_TARVO_CONFIG_H
#define GW_CONFIG_TARVO_CONFIG_H

#include <cstdint>

#include "confd.h"
#include "tollan.h"

// Handlers of changes below the GigabitEthernet list and of changes to any interface entry. Always 0: what cannot be
// applied is logged and never fails a commit.
int tarvo_config_gigabitethernet(tollan_change_ctx *ctx, int op, int num_keys, confd_value_t *keys,
                                 std::uint16_t num_values, confd_tag_value_t *values);
int tarvo_config_interface(tollan_change_ctx *ctx, int op, int num_keys, confd_value_t *keys, std::uint16_t num_values,
                           confd_tag_value_t *values);

inline constexpr int set_address = 4; // the only operation of __tarvo_configure_eth()

// Gives the address to the LAN through the session script. `device` is for messages only; `op` and `family`, that of
// the address text, change nothing. 0, or -1 for a prefix length above 30, when nothing is done.
int __tarvo_configure_eth(const char *device, int op, int family, const char *address, unsigned prefix_length);

void tarvo_configure_srcr2_default(); // 192.168.1.1/24

bool is_contiguous_netmask(std::uint32_t mask); // host byte order; 0 is none

// CONFD_OK, or CONFD_ERR with the refusal's text set.
int tarvo_validate_interface(confd_trans_ctx *tctx, confd_hkeypath_t *kp, confd_value_t *newval);
int tarvo_validate_netmask(confd_trans_ctx *tctx, confd_hkeypath_t *kp, confd_value_t *newval);
int tarvo_validate_interface_type(confd_trans_ctx *tctx, confd_hkeypath_t *kp, confd_value_t *newval);
int tarvo_validate_passthrough_feature_supported(confd_trans_ctx *tctx, confd_hkeypath_t *kp, confd_value_t *newval);
int tarvo_validate_passthrough_feature_disabled(confd_trans_ctx *tctx, confd_hkeypath_t *kp, confd_value_t *newval);

#endif
