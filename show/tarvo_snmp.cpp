#include "show/tarvo_snmp.h"

int tarvo_if_mib_get_object(confd_trans_ctx *tctx, confd_hkeypath_t * /*kp*/)
{
    return confd_data_reply_not_found(tctx); // not ready: answers so until the provider is there
}

int tarvo_if_mib_get_next(confd_trans_ctx *tctx, confd_hkeypath_t * /*kp*/, long /*next*/)
{
    return confd_data_reply_next_object_tag_value_array(tctx, nullptr, 0, -1); // not ready: an empty table until then
}

int tarvo_if_mib_find_next(confd_trans_ctx *tctx, confd_hkeypath_t * /*kp*/, int /*type*/, confd_value_t * /*inkeys*/,
                           int /*num_keys*/)
{
    return confd_data_reply_next_object_tag_value_array(tctx, nullptr, 0, -1); // not ready: an empty table until then
}

int tarvo_if_mib_get_elem(confd_trans_ctx *tctx, confd_hkeypath_t * /*kp*/)
{
    return confd_data_reply_not_found(tctx); // not ready: answers so until the provider is there
}
