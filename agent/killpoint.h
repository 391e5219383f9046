// Where the tests end the agent: GW_AGENT_KILL_AT names one point, and reaching it is a SIGKILL. Unset, this does
// nothing.
#ifndef GW_AGENT_KILLPOINT_H
#define GW_AGENT_KILLPOINT_H

namespace agent {

// "before-persist", "before-rename", "before-swap", "between-deliveries", "before-acknowledge"
void kill_point(const char *name);

} // namespace agent

#endif
