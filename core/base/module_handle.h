// The management module as a data provider finds it.
#ifndef GW_CORE_BASE_MODULE_HANDLE_H
#define GW_CORE_BASE_MODULE_HANDLE_H

#include "confd.h"
#include "tollan.h"

// For tollan_read_val(); the first word of the daemon context.
inline tollan_ctx *module_handle(const confd_trans_ctx *tctx)
{
    return static_cast<tollan_ctx *>(tctx->dx->owner);
}

// False until registration has ended and after de-initialisation.
inline bool module_is_ready(const tollan_ctx *handle)
{
    return handle->ready != 0;
}

// Always CONFD_OK: that there is no such thing is an answer.
inline int reply_not_found(confd_trans_ctx *tctx)
{
    confd_data_reply_not_found(tctx);
    return CONFD_OK;
}

#endif
