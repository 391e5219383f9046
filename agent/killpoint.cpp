#include "agent/killpoint.h"

#include <csignal>
#include <cstdlib>
#include <cstring>

#include <unistd.h>

namespace agent {

void kill_point(const char *name)
{
    static const char *const chosen = getenv("GW_AGENT_KILL_AT");
    if (chosen != nullptr && strcmp(chosen, name) == 0) kill(getpid(), SIGKILL);
}

} // namespace agent
