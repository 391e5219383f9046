#include "dhcp/dhcp_leases.h"

int tarvo_show_dhcp_pool_stats_get_elem(confd_trans_ctx *tctx, confd_hkeypath_t * /*kp*/)
{
    return confd_data_reply_not_found(tctx); // not ready: answers so until the provider is there
}

int tarvo_show_dhcp_binding_get_next(confd_trans_ctx *tctx, confd_hkeypath_t * /*kp*/, long /*next*/)
{
    return confd_data_reply_next_key(tctx, nullptr, 0, -1); // not ready: an empty list until the provider is there
}

int tarvo_show_dhcp_binding_get_object(confd_trans_ctx *tctx, confd_hkeypath_t * /*kp*/)
{
    return confd_data_reply_not_found(tctx); // not ready: answers so until the provider is there
}
