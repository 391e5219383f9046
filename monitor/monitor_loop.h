// The thread that watches the interfaces, in cycles of three nominal seconds: WAN address and reboot reason become
// traps, the LAN port's state goes to the LED service, the PHY follows the selected media, counters are sampled.
#ifndef GW_MONITOR_MONITOR_LOOP_H
#define GW_MONITOR_MONITOR_LOOP_H

#include <cstdint>

#include "mtd.h"

// The thread's own, from cycle to cycle. Counters are nominal seconds: three per cycle, however long it took.
struct MonitorState {
    int cdb_sock = -1;
    int board_id = 0;
    bool has_10g_phy = false;
    MTD_DEV *mtd_dev = nullptr;      // with an XsmiDevice as its application data; only when there is a PHY
    bool phy_10g_configured = false; // false after start whatever the PHY was set to before
    int probe_counter = 0;           // since the ARP prober's interval was written
    int stats_counter = 6;           // since the last statistics step; 6 lets the first cycle run one
    int lan_state_prev = 0;          // what the datastore was last told
    char old_ip[65] = "";            // the WAN address last reported; "" until it was read
    char old_mask[16] = "";
    char new_ip[65] = ""; // what this cycle read
    char new_mask[16] = "";
};

extern std::uint8_t reboot_reason_sent; // monitor thread only; set once, never cleared

// Thread entry; takes and returns null or anything, and returns only when it cannot go on.
void *tarvo_monitor_interface(void *daemon);

// The steps of it, in order of use. False: the thread has to end, the reason is logged.
bool start_monitor(MonitorState &state);     // 18 s of data-plane settings included
bool run_monitor_cycle(MonitorState &state); // once
void stop_monitor(MonitorState &state);      // releases what there is

long get_system_uptime(); // whole seconds since boot, -1 when it cannot be read

#endif
