// Data providers of the IF-MIB. Main thread.
#ifndef GW_SHOW_TARVO_SNMP_H
#define GW_SHOW_TARVO_SNMP_H

#include "confd.h"

// The rows.
int tarvo_if_mib_get_object(confd_trans_ctx *tctx, confd_hkeypath_t *kp);
int tarvo_if_mib_get_next(confd_trans_ctx *tctx, confd_hkeypath_t *kp, long next);
int tarvo_if_mib_find_next(confd_trans_ctx *tctx, confd_hkeypath_t *kp, int type, confd_value_t *inkeys, int num_keys);

// The number of rows.
int tarvo_if_mib_get_elem(confd_trans_ctx *tctx, confd_hkeypath_t *kp);

#endif
