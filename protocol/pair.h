// A name and its text: a variable binding, a line of the status, a leaf of an event.
#ifndef GW_PROTOCOL_PAIR_H
#define GW_PROTOCOL_PAIR_H

#include <string>

namespace proto {

struct Pair {
    std::string name;
    std::string value;

    bool operator==(const Pair &) const = default;
};

} // namespace proto

#endif
