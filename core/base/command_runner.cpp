#include "core/base/command_runner.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <sys/stat.h>

#include "core/base/handles.h"
#include "core/base/log.h"

namespace {

constexpr const char *log_path = "/tmp/system_cmds_with_timestamp";
constexpr const char *trim_command =
    "echo \"$(tail -200 /tmp/system_cmds_with_timestamp)\" > /tmp/system_cmds_with_timestamp";
constexpr std::int32_t size_limit = 102400; // bytes; a file of just this size is kept

bool append_entry(const char *command)
{
    const time_t now = time(nullptr); // the command has ended by now
    const File file(fopen(log_path, "ae"));
    if (!file) return false;
    tm local{};
    char stamp[32];
    tzset(); // localtime_r() alone would keep the zone of its first call
    localtime_r(&now, &local);
    fprintf(file.get(), "%s%s\n", asctime_r(&local, stamp), command);
    return true;
}

std::int32_t log_size()
{
    struct stat status {};
    stat(log_path, &status);
    return static_cast<std::int32_t>(status.st_size);
}

} // namespace

void run_shell(const char *command)
{
    [[maybe_unused]] const int status = system(command);
}

void CommandRunner(const char *command)
{
    run_shell(command);
    log_system_call(command);
}

void log_system_call(const char *command)
{
    if (!append_entry(command)) return;
    const std::int32_t size = log_size();
    log_trace(LOG_DEBUG, "log_system_call", "system_cmds_with_timestamp file size: %d ", size);
    if (size <= size_limit) return;
    run_shell(trim_command);
    log_trace(LOG_DEBUG, "log_system_call",
              "Retained latest 200 lines in system_cmds_with_timestamp, since file size is more than 100KB");
}
