// DHCP options, fixed addresses and excluded ranges: what is configured goes to the files that dnsmasq reads. Main
// thread.
#ifndef GW_DHCP_DHCP_LISTS_H
#define GW_DHCP_DHCP_LISTS_H

#include <cstdint>
#include <memory>

#include "confd.h"
#include "core/base/log.h"
#include "dhcp/dhcp_pool.h"
#include "tollan.h"

// Subscription handlers; always CONFD_OK. A change without a value among its pairs removes the entry, whatever the
// operation.
int tarvo_config_dhcp_options(tollan_change_ctx *ctx, int op, int num_keys, confd_value_t *keys,
                              std::uint16_t num_values, confd_tag_value_t *values);
int tarvo_config_dhcp_mac_binding(tollan_change_ctx *ctx, int op, int num_keys, confd_value_t *keys,
                                  std::uint16_t num_values, confd_tag_value_t *values);
int tarvo_config_dhcp_excluded_addresses(tollan_change_ctx *ctx, int op, int num_keys, confd_value_t *keys,
                                         std::uint16_t num_values, confd_tag_value_t *values);

// CONFD_OK, or CONFD_ERR with the refusal's text set. Both compare with what is committed, not with what is being
// committed.
int tarvo_validate_dhcp_mac_binding(confd_trans_ctx *tctx, confd_hkeypath_t *kp, confd_value_t *newval);
int tarvo_validate_dhcp_excluded_range(confd_trans_ctx *tctx, confd_hkeypath_t *kp, confd_value_t *newval);

// One line of the options or bindings file, written or removed. `length` is that of the value's text; the value and
// the address are not used when deleting.
void write_option(std::uint8_t code, bool delete_opt, const char *value, std::size_t length, bool quoted);
void write_mac_binding(const char *mac, bool delete_binding, in_addr address);

// The whole exclusion file.
void write_excluded_addresses(const AddrRange *ranges, int count);

// The ranges of the running database in the list's order, and their number; -1 and no array when one cannot be read.
int get_excl_addr_ranges(std::unique_ptr<AddrRange[]> &ranges);

// 2 after writing the dotted address; 0 and the text as it was for a value of another type.
int format_ipv4_value(const confd_value_t &value, char (&text)[INET_ADDRSTRLEN]);

// One debug line for one pair of a change.
void log_pair(TracePoint point, const confd_tag_value_t &pair);

#endif
