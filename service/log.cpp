#include "service/log.h"

#include <cstdarg>
#include <cstdio>

#include "service/text.h"

namespace service {

namespace {

constexpr int line_bytes = 1024;
const char *echo_name = nullptr; // null: no echo

} // namespace

void open_log(const char *name, bool echo)
{
    echo_name = echo ? name : nullptr;
    openlog(name, LOG_PID | LOG_NDELAY, LOG_DAEMON);
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
    if (echo_name != nullptr) fprintf(stderr, "%s: %s\n", echo_name, line);
}

} // namespace service
