// Data providers of the DHCP server: leases in use and pool statistics. Main thread.
#ifndef GW_DHCP_DHCP_LEASES_H
#define GW_DHCP_DHCP_LEASES_H

#include "confd.h"

int tarvo_show_dhcp_pool_stats_get_elem(confd_trans_ctx *tctx, confd_hkeypath_t *kp);
int tarvo_show_dhcp_binding_get_next(confd_trans_ctx *tctx, confd_hkeypath_t *kp, long next);
int tarvo_show_dhcp_binding_get_object(confd_trans_ctx *tctx, confd_hkeypath_t *kp);

#endif
