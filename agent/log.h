// The agent's log: syslog identity "gw-agent", optionally echoed to standard error.
#ifndef GW_AGENT_LOG_H
#define GW_AGENT_LOG_H

#include <syslog.h>

namespace agent {

void open_log(bool echo);
[[gnu::format(printf, 2, 3)]] void log(int priority, const char *format, ...);

} // namespace agent

#endif
