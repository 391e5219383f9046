// The log: syslog identity "gw-snmp", optionally echoed to standard error.
#ifndef GW_SNMP_LOG_H
#define GW_SNMP_LOG_H

#include <syslog.h>

namespace snmp {

void open_log(bool echo);
// A line of at most 1023 bytes; a longer one is cut.
[[gnu::format(printf, 2, 3)]] void log(int priority, const char *format, ...);

} // namespace snmp

#endif
