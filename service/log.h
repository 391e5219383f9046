// The log of a program that runs in the background: syslog, optionally echoed to standard error.
#ifndef GW_SERVICE_LOG_H
#define GW_SERVICE_LOG_H

#include <syslog.h>

namespace service {

// `name` is who speaks, in syslog and in front of an echoed line; it must outlive the process's last line.
void open_log(const char *name, bool echo);
// A line of at most 1022 bytes; a longer one is cut between two characters.
[[gnu::format(printf, 2, 3)]] void log(int priority, const char *format, ...);

} // namespace service

#endif
