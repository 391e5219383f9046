// A peer's request, and how it is answered: once, now or later. A peer that has gone meanwhile is no mistake.
#ifndef GW_AGENT_REQUEST_H
#define GW_AGENT_REQUEST_H

#include <cstdint>
#include <string>
#include <string_view>

#include "agent/server.h"
#include "protocol/hello.h"

namespace agent {

struct Agent;

struct Request {
    PeerId peer = 0;
    std::uint32_t id = 0; // 0: no answer is wanted; so come only notifications and traps
};

void answer(Agent &agent, Request request, std::string_view payload = {});
void refuse(Agent &agent, Request request, const proto::Error &error);
void refuse(Agent &agent, Request request, proto::ErrorCode code, const std::string &text);

} // namespace agent

#endif
