// Data provider of the active port mappings. Main thread.
#ifndef GW_PAT_PAT_TABLE_H
#define GW_PAT_PAT_TABLE_H

#include "confd.h"

int tarvo_show_pat_get_elem(confd_trans_ctx *tctx, confd_hkeypath_t *kp);
int tarvo_show_pat_get_next(confd_trans_ctx *tctx, confd_hkeypath_t *kp, long next);

#endif
