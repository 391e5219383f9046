// The port mappings that are active in the data plane, and their data provider. Main thread.
#ifndef GW_PAT_PAT_TABLE_H
#define GW_PAT_PAT_TABLE_H

#include "confd.h"

// Reads the data plane's table; returns the number of mappings that it holds, at most 15.
int get_pat_info();

int tarvo_show_pat_get_elem(confd_trans_ctx *tctx, confd_hkeypath_t *kp);
int tarvo_show_pat_get_next(confd_trans_ctx *tctx, confd_hkeypath_t *kp, long next);

#endif
