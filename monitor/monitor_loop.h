// The thread that watches the interfaces.
#ifndef GW_MONITOR_MONITOR_LOOP_H
#define GW_MONITOR_MONITOR_LOOP_H

// Thread entry; returns null, and only when it cannot go on.
void *tarvo_monitor_interface(void *daemon);

#endif
