// The LAN port's two roads: RJ45 at 1G, or the SFP cage at 10G behind a PHY. Switching changes two SoC registers, which
// set the MAC, and a few fields of the PHY. Results of single register accesses are not looked at.
//
// read_phy_status() may be called from any thread, the rest is the monitor thread's.
#ifndef GW_MONITOR_PHY_H
#define GW_MONITOR_PHY_H

#include "mtd.h"

// Switches the port over. Blocks while it waits for the MAC's link and, for 10G, for the PCS's: up to 120 s each.
void phy_configure(MTD_DEV *dev, bool ten_gig);

// Tells the PHY whether a connection is there, for it to indicate.
void phy_link_indication(MTD_DEV *dev, bool connected);

// 1: connected; 0 otherwise and when the status cannot be read.
int read_phy_status();

// The connected bit of the status file's line: one hexadecimal number, anything else is 0.
bool is_phy_connected(const char *line);

// The MAC's side of phy_configure().
void set_mac_mode(bool ten_gig);

// Waits up to 120 s for the link of the MAC at `speed` (1000 or 10000 Mb/s). 0 with `ok` set, or 1 with it cleared.
int wait_mac_link(int speed, bool *ok);

#endif
