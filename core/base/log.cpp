#include "core/base/log.h"

#include <cstdarg>
#include <cstdio>

#include "core/base/globals.h"

namespace {

constexpr int trace_text_size = 2048;

// Every line leaves the daemon here.
void emit(int level, const char *format, va_list arguments)
{
    vsyslog(LOG_LOCAL7 | level, format, arguments);
}

} // namespace

void open_log()
{
    openlog(g_progname, LOG_PID | LOG_NDELAY, LOG_LOCAL7);
}

void log_guarded(int level, const char *format, ...)
{
    if (g_logger_p == nullptr) return;
    va_list arguments;
    va_start(arguments, format);
    emit(level, format, arguments);
    va_end(arguments);
}

void log_always(int level, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    emit(level, format, arguments);
    va_end(arguments);
}

void log_trace(int level, TracePoint point, const char *format, ...)
{
    char text[trace_text_size];
    va_list arguments;
    va_start(arguments, format);
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): it is; the checker loses sight of it after the array.
    vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    log_always(level, "%s[%d]: %s", point.function, static_cast<int>(point.line), text);
    if (level != LOG_DEBUG) return;
    printf("\n%s[%d]: %s", point.function, static_cast<int>(point.line), text);
    fflush(stdout);
}
