#ifndef GW_SNMP_CLOCK_H
#define GW_SNMP_CLOCK_H

#include <chrono>

namespace snmp {

using Clock = std::chrono::steady_clock;
using Time = Clock::time_point;

inline constexpr Time never = Time::max();

} // namespace snmp

#endif
