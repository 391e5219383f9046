// From frames to functions: which operation each role may use, and what serves it.
#ifndef GW_AGENT_DISPATCH_H
#define GW_AGENT_DISPATCH_H

#include "agent/request.h"
#include "protocol/frame.h"

namespace agent {

void peer_greeted(Agent &agent, const PeerInfo &info);
void frame_came(Agent &agent, PeerId peer, const proto::Frame &frame);
// Whether a client can be closed without a loss: nothing to answer, nothing watched, nothing edited.
bool is_dispensable(const Agent &agent, PeerId peer);
void peer_gone(Agent &agent, PeerId peer);

} // namespace agent

#endif
