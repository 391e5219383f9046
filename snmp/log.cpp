#include "snmp/log.h"

#include <cstdarg>
#include <cstdio>

namespace snmp {

namespace {

constexpr int line_bytes = 1024;
bool echo_lines = false;

} // namespace

void open_log(bool echo)
{
    echo_lines = echo;
    openlog("gw-snmp", LOG_PID | LOG_NDELAY, LOG_DAEMON);
}

void log(int priority, const char *format, ...)
{
    char line[line_bytes];
    va_list args;
    va_start(args, format);
    vsnprintf(line, sizeof line, format, args);
    va_end(args);
    syslog(priority, "%s", line);
    if (echo_lines) fprintf(stderr, "gw-snmp: %s\n", line);
}

} // namespace snmp
