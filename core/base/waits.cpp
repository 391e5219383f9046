#include "core/base/waits.h"

#include <cerrno>
#include <cstdint>
#include <ctime>

namespace {

constexpr std::int64_t nanoseconds_per_second = 1000000000;

void wait_nanoseconds(std::int64_t nanoseconds)
{
    timespec until{};
    clock_gettime(CLOCK_MONOTONIC, &until);
    const std::int64_t end = until.tv_nsec + nanoseconds;
    until.tv_sec += end / nanoseconds_per_second;
    until.tv_nsec = end % nanoseconds_per_second;
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &until, nullptr) == EINTR) {
    }
}

} // namespace

void wait_seconds(unsigned seconds)
{
    wait_nanoseconds(seconds * nanoseconds_per_second);
}

void wait_milliseconds(unsigned milliseconds)
{
    wait_nanoseconds(milliseconds * INT64_C(1000000));
}
