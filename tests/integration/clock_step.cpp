// Preloaded into programs under test: their time of day is off by the seconds in the file below, which may change while
// they run, as a clock that somebody sets. Monotonic time is left alone.
#include <cstdio>
#include <ctime>
#include <sys/syscall.h>
#include <unistd.h>

extern "C" int clock_gettime(clockid_t clock, timespec *now)
{
    const auto result = static_cast<int>(syscall(SYS_clock_gettime, clock, now));
    FILE *file = clock == CLOCK_REALTIME ? fopen("/run/clock_step", "re") : nullptr;
    if (file == nullptr) return result;
    long offset = 0;
    if (fscanf(file, "%ld", &offset) == 1) now->tv_sec += offset;
    fclose(file);
    return result;
}

extern "C" time_t time(time_t *copy)
{
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    if (copy != nullptr) *copy = now.tv_sec;
    return now.tv_sec;
}
