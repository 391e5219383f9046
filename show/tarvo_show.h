// Data providers of the interface views. Main thread.
#ifndef GW_SHOW_TARVO_SHOW_H
#define GW_SHOW_TARVO_SHOW_H

#include "confd.h"

// Brief and detail views of both interfaces.
int tarvo_show_interface_get_next(confd_trans_ctx *tctx, confd_hkeypath_t *kp, long next);
int tarvo_show_interface_get_object(confd_trans_ctx *tctx, confd_hkeypath_t *kp);

// The operational interface table.
int tarvo_show_rtm_if_get_elem(confd_trans_ctx *tctx, confd_hkeypath_t *kp);
int tarvo_show_rtm_if_get_next(confd_trans_ctx *tctx, confd_hkeypath_t *kp, long next);

#endif
