// Preloaded into the daemon by `boot --hurry N`: its waits take an N-th of their time, so that hours of its cycles pass
// in minutes. The daemon's binary is not touched; commands that it runs are not hurried.
#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

constexpr long nanoseconds = 1'000'000'000;
long factor = 1;

long as_nanoseconds(const timespec &time)
{
    return time.tv_sec * nanoseconds + time.tv_nsec;
}

__attribute__((constructor)) void take_orders()
{
    const char *text = getenv("GW_HURRY");
    if (text != nullptr) factor = std::max(strtol(text, nullptr, 10), 1L);
    unsetenv("LD_PRELOAD");
}

} // namespace

// The daemon waits for points in monotonic time and nothing else; other kinds of wait keep their length. Interrupted,
// it waits for the same point again, which is then nearer than it should be by what has passed: no harm here.
extern "C" int clock_nanosleep(clockid_t clock_id, int flags, const timespec *req, timespec *rem)
{
    timespec near = *req;
    if (clock_id == CLOCK_MONOTONIC && flags == TIMER_ABSTIME) {
        timespec now{};
        clock_gettime(clock_id, &now);
        const long begin = as_nanoseconds(now);
        const long end = begin + (as_nanoseconds(*req) - begin) / factor;
        near = {end / nanoseconds, end % nanoseconds};
    }
    return syscall(SYS_clock_nanosleep, clock_id, flags, &near, rem) == 0 ? 0 : errno;
}
