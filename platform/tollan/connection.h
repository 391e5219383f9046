// The life of the control connection: connect, say hello, register, serve, and all of that again when it is lost.
#ifndef GW_PLATFORM_TOLLAN_CONNECTION_H
#define GW_PLATFORM_TOLLAN_CONNECTION_H

#include "platform/confd/stream.h"
#include "platform/tollan/module.h"

namespace tollan {

// Without the loop: goes on until the connection is in this state or the time has come. False when it is not.
bool drive(Module *module, State wanted, confd::Deadline deadline);

void send_registration(Module *module);

// From here on the loop does it all. False when libevent refuses.
bool run_on_loop(Module *module);

} // namespace tollan

#endif
