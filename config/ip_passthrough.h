// IP passthrough: the LAN device takes over the cellular address. Main thread.
#ifndef GW_CONFIG_IP_PASSTHROUGH_H
#define GW_CONFIG_IP_PASSTHROUGH_H

#include <cstdint>

#include "confd.h"
#include "tollan.h"

// Switches the mode, which takes 5 s when it is switched off, and signals the platform daemon. Always 0: a command that
// fails never fails a commit.
int tarvo_config_ip_passthrough(tollan_change_ctx *ctx, int op, int num_keys, confd_value_t *keys,
                                std::uint16_t num_values, confd_tag_value_t *values);

// The cellular link details changed: serves the LAN by DHCP again, unless passthrough is on. Always 0.
int tarvo_oper_cellular_notification_cb(tollan_change_ctx *ctx, int op, int num_keys, confd_value_t *keys,
                                        std::uint16_t num_values, confd_tag_value_t *values);

#endif
