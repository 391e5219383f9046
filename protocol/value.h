// Values as they travel between the agent and its peers, and the table that gives a model type its value type.
// Pure data: no sockets, no schema library.
#ifndef GW_PROTOCOL_VALUE_H
#define GW_PROTOCOL_VALUE_H

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace proto {

// The numbers below 64 are fixed by the programs that compare them; the others are this protocol's own.
enum class ValueType : std::uint8_t {
    noexists = 0,
    str = 4,
    buf = 5,
    int32 = 8,
    uint16 = 11,
    uint32 = 12,
    uint64 = 13,
    ipv4 = 15,
    ipv6 = 16,
    boolean = 17,
    enum_value = 28,
    xmlbegin = 32,
    xmlend = 33,
    binary = 39,
    xmltag = 64,
    int8 = 65,
    int16 = 66,
    int64 = 67,
    uint8 = 68,
    list = 69,
    ipv4prefix = 70,
    duration = 71,
};

inline constexpr std::uint32_t micros_per_second = 1'000'000;
inline constexpr std::size_t duration_fields = 7; // years, months, days, hours, minutes, seconds, microseconds

// One value; which fields count depends on the type:
//   integers, boolean, enum_value   number (a uint64 as its bit pattern)
//   str, buf, binary                bytes (without a terminating NUL)
//   ipv4, ipv6                      address (network byte order; 4 or 16 bytes)
//   ipv4prefix                      address, and the prefix length in number
//   xmltag, xmlbegin, xmlend        tag, ns
//   duration                        duration (microseconds below a second)
//   list                            list (never holds a list)
struct Value {
    ValueType type = ValueType::noexists;
    std::int64_t number = 0;
    std::array<std::uint8_t, 16> address{};
    std::uint32_t tag = 0;
    std::uint32_t ns = 0;
    std::array<std::uint32_t, duration_fields> duration{};
    std::string bytes;
    std::vector<Value> list;

    bool operator==(const Value &) const = default;
};

Value make_number(ValueType type, std::int64_t number);
Value make_text(ValueType type, std::string_view text);
Value make_tag(ValueType type, std::uint32_t tag, std::uint32_t ns);

bool is_value_type(std::uint8_t number);

// True for the types whose content is `number`; `low` and `high` get the bounds (uint64: the whole range of bit
// patterns).
bool is_number(ValueType type, std::int64_t *low = nullptr, std::int64_t *high = nullptr);

// A node's tag in a tag-value array; ns 0 means the parent's.
struct TagValue {
    std::uint32_t tag = 0;
    std::uint32_t ns = 0;
    Value value;

    bool operator==(const TagValue &) const = default;
};

// One element of a keypath: a tag, or the keys of a list entry in schema order.
struct PathElement {
    bool is_keys = false;
    std::uint32_t tag = 0;
    std::uint32_t ns = 0;
    std::vector<Value> keys;

    bool operator==(const PathElement &) const = default;
};

// Innermost element first. A list entry is its keys, with the list's tag in the element after it.
using KeyPath = std::vector<PathElement>;

// Base types of the models, named as YANG names them (RFC 7950 section 4.2.4) and the two that gwx:value-type marks.
// noexists when the name is none of them. Text reaches a program as buf.
ValueType type_of_model(std::string_view base_type);

// The tag of a name that no model binds: FNV-1a (32 bit) of the name, cut to 31 bits.
std::uint32_t tag_of_name(std::string_view name);

// Text from outside that may go to a terminal or a JSON document: bytes that are not valid UTF-8 and control bytes
// become \xNN.
std::string printable(std::string_view text);

// The canonical YANG text of a value that comes from a provider ("10.1.1.1", "true", "P1DT2H"). An enumeration gives
// its number and a tag nothing: their names need the schema.
std::string to_text(const Value &value);

// The value of this type that a canonical text stands for; tags, enumerations by name and lists do not convert.
// False, with *out untouched, when the text is none.
bool from_text(ValueType type, std::string_view text, Value *out);

} // namespace proto

#endif
