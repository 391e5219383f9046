// The statistics export file.
#ifndef GW_MONITOR_PSV_EXPORT_H
#define GW_MONITOR_PSV_EXPORT_H

// Starts the first file, before the monitor thread runs. A failure is only logged.
void psv_stats_file_init();

#endif
