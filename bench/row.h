// A line of the table that ./gw bench ends with; bench/table.py reads it.
#ifndef GW_BENCH_ROW_H
#define GW_BENCH_ROW_H

#include <cstdio>

// One unit for both figures. Without peer the floor is 0. The bound is of our figure, in the same unit, or, with an x
// behind it, of the ratio; "" when the row is for information.
inline void print_row(const char *what, double ours, const char *unit, const char *peer, double floor,
                      const char *bound)
{
    std::printf("bench|%s|%g|%s|%s|%g|%s\n", what, ours, unit, peer, floor, bound);
    std::fflush(stdout);
}

#endif
