// The fixed table of the gateway's interfaces, and the checks of the names and keys that callers bring.
//
// A port key is the text slot, slash, port; a device is a Linux interface name.
#ifndef GW_SHOW_IF_MAP_H
#define GW_SHOW_IF_MAP_H

#include <cstddef>
#include <cstdint>

// Tags of the model's two interface lists.
enum : std::uint32_t { gw_system_GigabitEthernet = 0x40426272, gw_system_Cellular = 0x0ccbe400 };

inline constexpr std::size_t device_name_size = 16; // with the NUL

struct InterfaceMap {
    const char *port_key; // null: the device has none
    std::uint32_t list_tag;
    const char *device;
    const char *display_name;
    int statistics_slot; // slot + port of the key; -1: none
};

// In the order of the monitor's device indexes.
inline constexpr InterfaceMap interface_map[] = {
    {"0/0",   gw_system_GigabitEthernet, "wired0",   "GigabitEthernet 0/0", 0 },
    {"1/0",   gw_system_Cellular,        "cell_1_0", "Cellular 1/0",        1 },
    {nullptr, gw_system_Cellular,        "cell_1_1", "Cellular 1/1",        -1},
};

// The pattern is a POSIX extended regular expression; one that does not compile matches nothing.
bool regex_match(const char *text, const char *pattern);

// At most 15 letters, digits and underscores; "" is none.
bool is_valid_ifname(const char *name);

// "0/0" and "0/1" in the GigabitEthernet list, "1/0" and "1/1" in the cellular one.
bool is_valid_if_port(const char *port_key, std::uint32_t list_tag);

// "" for a key without a device.
void if_port_to_device(const char *port_key, char (&device)[device_name_size]);

const char *device_display_name(const char *device); // null: unknown

bool is_cell_1_0(const char *name); // the first 8 characters: tells the WAN device from the LAN device

#endif
