// Data providers of the SFP transceiver. Every leaf asks the module anew; without one it is answered from zeros. Both
// return CONFD_OK also when the reply could not be sent. Main thread.
#ifndef GW_SHOW_TRANSCEIVER_H
#define GW_SHOW_TRANSCEIVER_H

#include <cstdint>

#include "confd.h"
#include "show/sfp_idprom.h"

extern std::uint8_t g_sfp_info_data[sfp_info_size]; // the last ID PROM image

int tarvo_show_transceiver_oper_status_get_elem(confd_trans_ctx *tctx, confd_hkeypath_t *kp); // diagnostics
int tarvo_show_transceiver_idprom_info_get_elem(confd_trans_ctx *tctx, confd_hkeypath_t *kp); // identification

#endif
