// What the system says about one network device. Every reader degrades to a value instead of reporting an error. No
// state; any thread.
#ifndef GW_SHOW_IF_INFO_H
#define GW_SHOW_IF_INFO_H

#include <cstddef>
#include <cstdint>

// 1 or 0; unreadable flags (no such device yet) count as up, a null name as down.
int is_if_admin_up(const char *name);

// 1 or 0; 0 when the system cannot be asked. The name is never null.
int is_if_running(const char *name);

// -1 when unreadable, 0 for a null name.
int get_if_mtu(const char *name);

// 1 when the address was stored, else 0.
int get_if_hwaddr(const char *name, std::uint8_t (&address)[6]);

// The address or mask that ifconfig prints, cut to size - 1 characters. The output stays as it is when nothing is
// printed and, unless the cut takes it, keeps the line break.
void read_ifconfig_ipaddr(const char *name, char *output, std::size_t size);
void read_ifconfig_mask(const char *name, char *output, std::size_t size);

// "Flags" and "mtu" texts of /sys: a number with an optional 0x or 0 in front, anything else is 0.
long parse_sysfs_number(const char *line);

#endif
