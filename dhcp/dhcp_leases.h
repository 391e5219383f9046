// Data providers of the DHCP server: leases in use and pool statistics. The lease file is read when somebody asks.
// Main thread.
#ifndef GW_DHCP_DHCP_LEASES_H
#define GW_DHCP_DHCP_LEASES_H

#include "confd.h"
#include "dhcp/lease_parser.h"

// What the last listing found; answers until the next one begins.
extern DhcpLease *g_leases; // null: none
extern int g_num_leases;

int get_num_dhcp_leases(); // lease lines of the file; 0 when it cannot be opened

// The leases as an array that the caller frees with free(), and their number; 0 and `leases` as it was when there are
// none.
int read_dhcp_leases_file(DhcpLease **leases);

const DhcpLease *find_dhcp_lease(const DhcpLease *leases, int count, in_addr address); // null: none

// Addresses of the committed pool that are neither leased nor excluded; -1 when the pool cannot be read. Not above 0
// when more is in use than there is, e.g. after the pool has become smaller.
int calc_free_dhcp_addresses(int in_use);

int tarvo_show_dhcp_pool_stats_get_elem(confd_trans_ctx *tctx, confd_hkeypath_t *kp);
int tarvo_show_dhcp_binding_get_next(confd_trans_ctx *tctx, confd_hkeypath_t *kp, long next); // always CONFD_OK
int tarvo_show_dhcp_binding_get_object(confd_trans_ctx *tctx, confd_hkeypath_t *kp);

#endif
