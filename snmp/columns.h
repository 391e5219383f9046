// Which leaf of the agent's if-mib data each object of the IF-MIB (RFC 2863) comes from.
#ifndef GW_SNMP_COLUMNS_H
#define GW_SNMP_COLUMNS_H

#include <cstdint>
#include <span>

namespace snmp {

enum class Syntax : std::uint8_t {
    integer,     // Integer32
    enumeration, // by the name of the value
    text,        // DisplayString, at most 255 bytes
    address,     // PhysAddress, six octets from "02:00:00:00:01:01" and a NUL in base64
    speed,       // Gauge32 in bit/s from Mbit/s
    gauge,
    counter,
    counter64,
};

struct Column {
    const char *leaf;
    std::uint8_t number; // of the column
    Syntax syntax;
};

inline constexpr unsigned long if_number[] = {1, 3, 6, 1, 2, 1, 2, 1};
inline constexpr unsigned long if_table[] = {1, 3, 6, 1, 2, 1, 2, 2};
inline constexpr unsigned long if_x_table[] = {1, 3, 6, 1, 2, 1, 31, 1, 1};

// In the order of their numbers. Objects that the agent has no leaf for are not served.
std::span<const Column> if_table_columns();
std::span<const Column> if_x_table_columns();

} // namespace snmp

#endif
