// Data providers of the SFP transceiver. Main thread.
#ifndef GW_SHOW_TRANSCEIVER_H
#define GW_SHOW_TRANSCEIVER_H

#include "confd.h"

int tarvo_show_transceiver_oper_status_get_elem(confd_trans_ctx *tctx, confd_hkeypath_t *kp);
int tarvo_show_transceiver_idprom_info_get_elem(confd_trans_ctx *tctx, confd_hkeypath_t *kp);

#endif
