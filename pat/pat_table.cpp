#include "pat/pat_table.h"

int tarvo_show_pat_get_elem(confd_trans_ctx *tctx, confd_hkeypath_t * /*kp*/)
{
    return confd_data_reply_not_found(tctx); // not ready: answers so until the provider is there
}

int tarvo_show_pat_get_next(confd_trans_ctx *tctx, confd_hkeypath_t * /*kp*/, long /*next*/)
{
    return confd_data_reply_next_key(tctx, nullptr, 0, -1); // not ready: an empty list until the provider is there
}

int get_pat_info()
{
    return 0; // not ready
}
