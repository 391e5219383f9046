#include "fakes/record.h"

#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <regex>
#include <syslog.h>
#include <utility>

namespace {

std::mutex guard;
fakes::Events events;

void record_line(int priority, const char *format, va_list arguments)
{
    static const char *const levels[] = {"emerg", "alert", "crit", "error", "warning", "notice", "info", "debug"};
    static const std::regex trace_line("^(\\w+)\\[\\d+\\]: ");
    char text[4096];
    vsnprintf(text, sizeof text, format, arguments);
    const char *facility = (priority & LOG_FACMASK) == LOG_LOCAL7 ? "" : "wrong facility ";
    fakes::record(std::string(facility) + levels[priority & LOG_PRIMASK] + ": " +
                  std::regex_replace(text, trace_line, "$1[#]: "));
}

} // namespace

int fakes::record(std::string event, int result)
{
    const std::lock_guard lock(guard);
    events.push_back(std::move(event));
    return result;
}

fakes::Events fakes::taken()
{
    const std::lock_guard lock(guard);
    return std::exchange(events, {});
}

extern "C" {

void __wrap_openlog(const char *identity, int options, int facility)
{
    fakes::record(std::string("openlog ") + identity + " " + std::to_string(options) + " " + std::to_string(facility));
}

void __wrap_vsyslog(int priority, const char *format, va_list arguments)
{
    record_line(priority, format, arguments);
}

// What a fortified build calls.
void __wrap___vsyslog_chk(int priority, int /*flag*/, const char *format, va_list arguments)
{
    record_line(priority, format, arguments);
}
}
