#include "show/transceiver.h"

int tarvo_show_transceiver_oper_status_get_elem(confd_trans_ctx *tctx, confd_hkeypath_t * /*kp*/)
{
    return confd_data_reply_not_found(tctx); // not ready: answers so until the provider is there
}

int tarvo_show_transceiver_idprom_info_get_elem(confd_trans_ctx *tctx, confd_hkeypath_t * /*kp*/)
{
    return confd_data_reply_not_found(tctx); // not ready: answers so until the provider is there
}
