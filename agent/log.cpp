#include "agent/log.h"

#include <cstdarg>
#include <cstdio>

#include "agent/text.h"

namespace agent {

namespace {

constexpr int line_bytes = 1024;
bool echo_lines = false;

} // namespace

void open_log(bool echo)
{
    echo_lines = echo;
    openlog("gw-agent", LOG_PID | LOG_NDELAY, LOG_DAEMON);
}

void log(int priority, const char *format, ...)
{
    char line[line_bytes];
    va_list args;
    va_start(args, format);
    const int length = vsnprintf(line, sizeof line, format, args);
    va_end(args);
    if (length >= line_bytes) line[whole_characters(line, line_bytes - 2)] = '\0';
    syslog(priority, "%s", line);
    if (echo_lines) fprintf(stderr, "gw-agent: %s\n", line);
}

} // namespace agent
