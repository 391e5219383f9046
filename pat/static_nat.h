// Static port forwarding: the whole rule list goes to the data plane at every change. Main thread.
#ifndef GW_PAT_STATIC_NAT_H
#define GW_PAT_STATIC_NAT_H

#include <cstdint>
#include <netinet/in.h>

#include "confd.h"
#include "tollan.h"

// Always CONFD_OK.
int tarvo_config_ip_static_nat(tollan_change_ctx *ctx, int op, int num_keys, confd_value_t *keys,
                               std::uint16_t num_values, confd_tag_value_t *values);

// Loads the rules of the running database, read from the agent at `agent`, into the data plane. 0 when the command was
// run, whatever became of it; -1 when the data plane keeps its table: no session, a rule without interface, or more
// rules than the command holds.
int read_tcp_udp_nat_list(const sockaddr_in &agent);

#endif
