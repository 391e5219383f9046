// Whether the interface monitor may send traps: the agent's switch and the number of trap targets. Main thread.
#ifndef GW_CONFIG_SNMP_SETTINGS_H
#define GW_CONFIG_SNMP_SETTINGS_H

#include <cstdint>

#include "confd.h"
#include "tollan.h"

// Sets snmp_enable from the leaf that switches the agent off. Always 0.
int tarvo_snmp_settings_cb(tollan_change_ctx *ctx, int op, int num_keys, confd_value_t *keys, std::uint16_t num_values,
                           confd_tag_value_t *values);

// Counts the trap targets in snmp_trap_enable. 1 when the change is not that of a target, which has two keys, else 0.
int tarvo_snmp_trap_target_cb(tollan_change_ctx *ctx, int op, int num_keys, confd_value_t *keys,
                              std::uint16_t num_values, confd_tag_value_t *values);

#endif
