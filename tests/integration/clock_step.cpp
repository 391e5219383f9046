// Preloaded into programs under test: their time of day is off by the seconds in the file below, which may change while
// they run, as a clock that somebody sets. Monotonic time is left alone.
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <sys/syscall.h>
#include <unistd.h>

extern "C" int clock_gettime(clockid_t clock_id, timespec *tp)
{
    const auto result = static_cast<int>(syscall(SYS_clock_gettime, clock_id, tp));
    FILE *file = clock_id == CLOCK_REALTIME ? fopen("/run/clock_step", "re") : nullptr;
    if (file == nullptr) return result;
    char seconds[32] = "";
    if (fgets(seconds, sizeof seconds, file) != nullptr) tp->tv_sec += strtol(seconds, nullptr, 10);
    fclose(file);
    return result;
}

extern "C" time_t time(time_t *timer)
{
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    if (timer != nullptr) *timer = now.tv_sec;
    return now.tv_sec;
}
