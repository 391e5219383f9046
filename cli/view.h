// Views of operational data that have a table of their own: which leaves, under which heading.
#ifndef GW_CLI_VIEW_H
#define GW_CLI_VIEW_H

#include <array>
#include <span>
#include <string>

#include "cli/forest.h"

namespace cli {

enum class Cell : std::uint8_t {
    text,
    number,   // right-aligned
    entry,    // not a leaf: the list's name and the entry's keys, "GigabitEthernet 0/0"
    duration, // ISO 8601 as "1d 02:03:04"
    octets,   // base64 of text
};

struct Column {
    const char *leaf; // unused for Cell::entry
    const char *heading;
    const char *unit; // null where there is none
    Cell cell;
};

enum class Layout : std::uint8_t {
    grid,   // one line per list entry
    blocks, // a heading and one line per leaf for every list entry
    record, // one line per leaf of a container
};

struct Section {
    const char *path; // of the container, by local names
    const char *title;
    Layout layout;
    std::span<const Column> columns;
};

struct View {
    std::array<const char *, 2> path; // what is asked of the agent
    std::span<const Section> sections;
};

extern const View view_interface_brief;
extern const View view_interface_detail;
extern const View view_interface_rates;
extern const View view_interface_table;
extern const View view_dhcp_binding;
extern const View view_dhcp_pool;
extern const View view_nat;
extern const View view_transceiver;
extern const View view_snmp_interfaces;

// For people; what could not be read follows in lines that begin with "!".
std::string view_text(const View &view, const Node &root);

// "P1DT2H3M4S" as "1d 02:03:04"; a text that is no duration of days or less comes back unchanged.
std::string duration_text(const std::string &iso);

} // namespace cli

#endif
