// Frames to the agent from any thread.
#ifndef GW_PLATFORM_TOLLAN_UPLINK_H
#define GW_PLATFORM_TOLLAN_UPLINK_H

#include <string_view>

#include "protocol/frame.h"

struct tollan_ctx;

namespace tollan {

// Sends a frame that asks for no answer. It is written by the calling thread, so it leaves also while the main thread
// is in a long handler; what the socket does not take follows from the loop. False, with nothing sent, when ctx is not
// (or no longer) registered with an agent or too much is waiting already.
bool send_up(tollan_ctx *ctx, proto::Op op, std::string_view payload);

} // namespace tollan

#endif
