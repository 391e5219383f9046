// The agent's calls, carried out and answered.
#ifndef GW_PLATFORM_TOLLAN_DISPATCH_H
#define GW_PLATFORM_TOLLAN_DISPATCH_H

#include "platform/tollan/module.h"

namespace tollan {

// Runs the daemon's callback, which may take minutes, and posts its answer.
void dispatch(Module *module, const proto::Frame &frame);

} // namespace tollan

#endif
