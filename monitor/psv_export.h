// The statistics export: a file of pipe-separated values that is filled row by row, handed to the appliance's
// publishing script and replaced by a fresh one. Monitor thread, but for the start.
#ifndef GW_MONITOR_PSV_EXPORT_H
#define GW_MONITOR_PSV_EXPORT_H

#include "monitor/if_stats.h"

// Starts the first file, before the monitor thread runs. A failure is only logged.
void psv_stats_file_init();

// Appends one row when both device and sample are given, then publishes the file when rows of a whole step are pending.
// What could not be published stays in the file for the next call.
void write_psv_if_stats(bool last_row, const char *device, const IfStatSample *sample);

#endif
