// The traps and bindings that the daemon names, with their identifiers in mib/GW-TRAP-MIB.mib. Pure.
#ifndef GW_SNMP_TRAP_MESSAGE_H
#define GW_SNMP_TRAP_MESSAGE_H

#include <array>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "protocol/client.h"

namespace snmp {

inline constexpr std::size_t trap_oid_length = 10;
inline constexpr std::size_t object_oid_length = 11; // instance 0 included

struct TrapRow {
    std::string_view name;
    std::array<unsigned long, trap_oid_length> oid;
};

struct ObjectRow {
    std::string_view name;
    unsigned char type; // ASN.1 tag
    std::array<unsigned long, object_oid_length> oid;
};

struct Binding {
    const ObjectRow *object = nullptr;
    std::string text; // at most 255 bytes
};

struct TrapMessage {
    const TrapRow *trap = nullptr; // null when the name is unknown
    std::vector<Binding> bindings; // in the order given
    std::string unknown;           // names of bindings that are left out, separated by blanks
};

TrapMessage translate(const proto::Event &event);

// The identifier of the counter with that number in the same module, instance 0.
std::array<unsigned long, object_oid_length> counter_oid(unsigned long number);

} // namespace snmp

#endif
