// What the daemon registers with the management agent: subscriptions, validation points, the action point and the data
// providers.
#ifndef GW_CORE_TARVO_CONFD_H
#define GW_CORE_TARVO_CONFD_H

#include "core/base/globals.h"
#include "tollan.h"

// Registers everything and then decides the Click routing prefix and the standalone-router flag. 0, or 1 when the
// management library refused.
int register_with_agent(TarvoDaemon *daemon);

// Does nothing when registration never succeeded.
void deregister_from_agent(TarvoDaemon *daemon);

// Called back by the library during registration. 0 when every data provider is registered, else 1.
int tarvo_confd_register_data_cbs(tollan_ctx *ctx);

#endif
