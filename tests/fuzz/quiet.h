// In place of logs and shell. Every line of the daemon's is formatted, so that a text without end is noticed, and
// dropped.
#ifndef GW_FUZZ_QUIET_H
#define GW_FUZZ_QUIET_H

#include <cstdarg>
#include <cstdio>

#include "core/base/command_runner.h"
#include "core/base/log.h"
#include "service/log.h"

// What a function's `format` and the arguments behind it make.
#define DROP_LINE                                                                                                      \
    char line[2048];                                                                                                   \
    va_list arguments;                                                                                                 \
    va_start(arguments, format);                                                                                       \
    vsnprintf(line, sizeof line, format, arguments);                                                                   \
    va_end(arguments)

void open_log() {}

void log_guarded(int /*level*/, const char *format, ...)
{
    DROP_LINE;
}

void log_always(int /*level*/, const char *format, ...)
{
    DROP_LINE;
}

void log_trace(int /*level*/, TracePoint /*point*/, const char *format, ...)
{
    DROP_LINE;
}

void service::open_log(const char * /*name*/, bool /*echo*/) {}
void service::log(int /*priority*/, const char * /*format*/, ...) {}

void CommandRunner(const char * /*command*/) {}
void log_system_call(const char * /*command*/) {}
void run_shell(const char * /*command*/) {}

#endif
