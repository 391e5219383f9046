// What the interface views, the operational table and the IF-MIB rows all say about an interface. Main thread.
#ifndef GW_SHOW_INTERFACE_FACTS_H
#define GW_SHOW_INTERFACE_FACTS_H

#include <cstddef>
#include <cstdint>
#include <span>

#include "confd.h"
#include "core/base/log.h"
#include "core/base/tag_values.h"
#include "maker.h"
#include "monitor/if_stats.h"
#include "tollan.h"

// Elements of a keypath whose type the data model guarantees; another one ends the process in the caller's name.
std::uint32_t checked_tag(const confd_value_t &element, const char *module, unsigned line = __builtin_LINE());
const char *checked_text(const confd_value_t &element, const char *module, unsigned line = __builtin_LINE());

// Slot + port, 0 for each number that cannot be read.
long statistics_slot(const char *port_key);

// The record in the room that the link library wants.
union LinkRecord {
    unsigned char storage[LINK_INFO_STORAGE];
    LinkInfo info;
};

// As for a device that is down when the library does not know it, which is a modem that is off. Logs what it says at
// `level`.
void get_link_record(const char *device, int level, LinkRecord &record);

// A counter of the statistics and the tag under which it is answered.
struct TaggedCounter {
    std::uint32_t tag;
    std::uint64_t IfStatSample::*field;
};

// As C_UINT64, in this order.
void put_counters(TagArray &array, std::span<const TaggedCounter> counters, const IfStatSample &current);

// Owner of a text that was read from the configuration.
struct Description {
    confd_value_t stored{}; // C_NOEXISTS: nothing was read
    Description() = default;
    ~Description()
    {
        if (stored.type != C_NOEXISTS) tollan_release_val(&stored);
    }
    Description(const Description &) = delete;
    Description &operator=(const Description &) = delete;
};

// The configured description of a GigabitEthernet port, or the kind of interface; lives as long as `description`.
const char *gigabitethernet_description(tollan_ctx *handle, const char *port_key, const char *module,
                                        Description &description);
inline constexpr const char *cellular_description = "Cellular Interface";

inline constexpr std::size_t hwaddr_text_size = 18; // "02:11:22:33:44:55" with the NUL

// False when the device has no address to read.
bool read_hwaddr_text(const char *device, TracePoint point, char (&text)[hwaddr_text_size]);

inline constexpr std::size_t command_output_size = 4096;
inline constexpr std::size_t output_command_size = 256;

// What the command prints, "" when it cannot be run; a failure is logged.
void read_command_output(const char *command, char (&output)[command_output_size]);

// The leading decimal number of a text, 0 when there is none; a negative one wraps.
std::uint32_t leading_number(const char *text);

std::uint32_t read_lan_speed(); // Mbit/s; 0 when the port does not say

#endif
