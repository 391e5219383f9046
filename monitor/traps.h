// What the daemon reports northbound by itself, and the reader of the WAN address that it watches. Results of sending
// are not looked at; nothing is sent while the daemon is not registered. Any thread.
#ifndef GW_MONITOR_TRAPS_H
#define GW_MONITOR_TRAPS_H

// Buffers hold 16 bytes. 0, or -1 when an address or mask line cannot be read; what was read before stays in its
// buffer.
int tarvo_trap_read_ip_from_click(const char *element, char *ip, char *mask);

// The WAN address or mask of `if_name` (display name) has changed.
void send_ip_change_trap(const char *if_name, const char *old_ip, const char *new_ip, const char *old_mask,
                         const char *new_mask);

void send_reboot_reason_trap(const char *reason);

// The DHCP configuration has been applied anew.
void notify_dhcp_config_change();

#endif
