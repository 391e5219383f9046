// The daemon's three styles of log line, all to syslog facility local7. Levels are syslog's.
#ifndef GW_CORE_BASE_LOG_H
#define GW_CORE_BASE_LOG_H

#include <syslog.h>

// Opens syslog under the daemon's identity.
void open_log();

// Silent until g_logger_p is set. Most messages.
void log_guarded(int level, const char *format, ...) __attribute__((format(printf, 2, 3)));

// For what must be seen whether or not logging is on.
void log_always(int level, const char *format, ...) __attribute__((format(printf, 2, 3)));

// The function's name and the source line of a trace. The name is given by hand: it belongs to the message, so that
// moving the call into a helper does not change what operators look for.
struct TracePoint {
    const char *function;
    unsigned line;
    // NOLINTNEXTLINE(google-explicit-constructor): callers write the name, the line comes along.
    TracePoint(const char *name, unsigned call_line = __builtin_LINE()) : function(name), line(call_line) {}
};

// Always emitted, begins with "%s[%d]: ", cut to 2047 characters. Debug traces are repeated on standard output after a
// newline, for a daemon in the foreground.
void log_trace(int level, TracePoint point, const char *format, ...) __attribute__((format(printf, 3, 4)));

#endif
