// The kernel's counters of every device, /proc/net/dev: after two title lines one line per device, its name with a
// colon and sixteen numbers.
#ifndef GW_MONITOR_PROC_NET_DEV_H
#define GW_MONITOR_PROC_NET_DEV_H

#include "monitor/if_stats.h"

// The first word begins with the device's name, so a longer name matches too, and something follows it.
bool is_net_dev_line_of(const char *line, const char *device);

// The eight counters of a line; 0 where the line ends early, the greatest number where one does not fit. Rates stay as
// they are.
void parse_net_dev_counters(const char *line, IfStatSample &sample);

#endif
