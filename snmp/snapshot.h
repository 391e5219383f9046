// What managers are served: every object of the IF-MIB with its name and value, ready to be copied into an answer.
// Pure: from the agent's data to objects.
#ifndef GW_SNMP_SNAPSHOT_H
#define GW_SNMP_SNAPSHOT_H

#include <array>
#include <cstddef>
#include <string>
#include <vector>

#include "protocol/client.h"

namespace snmp {

using Oid = std::array<unsigned long, 12>; // the longest name: ifXEntry.column.index

struct Object {
    Oid name{};
    std::size_t length = 0;
    unsigned char type = 0; // ASN.1 tag
    std::string bytes;      // the value as the agent library takes it: a long, a counter64, octets
};

struct Snapshot {
    std::vector<Object> objects; // in the order of their names
    bool usable = false;         // false: there are no interfaces, and not because there are none
    std::string fault;           // why something is missing: the first error mark
};

// Leaves that are missing, or whose value the object cannot hold, are left out: an unreadable MTU (4294967295) for one.
Snapshot make_snapshot(const proto::Tree &tree);

// The object of that name, or null.
const Object *find_object(const Snapshot &snapshot, const unsigned long *name, std::size_t length);
// The first object behind the name, or null.
const Object *find_next_object(const Snapshot &snapshot, const unsigned long *name, std::size_t length);

} // namespace snmp

#endif
