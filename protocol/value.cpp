#include "protocol/value.h"

#include <algorithm>
#include <iterator>
#include <limits>

namespace proto {

namespace {

struct NumberRow {
    ValueType type;
    std::int64_t low;
    std::int64_t high;
};

template <typename T> constexpr NumberRow number_row(ValueType type)
{
    return {type, std::numeric_limits<T>::min(), std::numeric_limits<T>::max()};
}

constexpr NumberRow numbers[] = {
    number_row<std::int8_t>(ValueType::int8),        number_row<std::int16_t>(ValueType::int16),
    number_row<std::int32_t>(ValueType::int32),      number_row<std::int64_t>(ValueType::int64),
    number_row<std::uint8_t>(ValueType::uint8),      number_row<std::uint16_t>(ValueType::uint16),
    number_row<std::uint32_t>(ValueType::uint32),
    number_row<std::int64_t>(ValueType::uint64), // as a bit pattern
    number_row<std::int32_t>(ValueType::enum_value), {ValueType::boolean, 0, 1},
};

struct TypeRow {
    std::string_view name;
    ValueType type;
};

// The one table from model types to value types.
constexpr TypeRow types[] = {
    {"string",               ValueType::buf       },
    {"boolean",              ValueType::boolean   },
    {"enumeration",          ValueType::enum_value},
    {"int8",                 ValueType::int8      },
    {"int16",                ValueType::int16     },
    {"int32",                ValueType::int32     },
    {"int64",                ValueType::int64     },
    {"uint8",                ValueType::uint8     },
    {"uint16",               ValueType::uint16    },
    {"uint32",               ValueType::uint32    },
    {"uint64",               ValueType::uint64    },
    {"binary",               ValueType::binary    },
    {"ipv4-address",         ValueType::ipv4      },
    {"ipv4-address-no-zone", ValueType::ipv4      },
    {"ipv6-address",         ValueType::ipv6      },
    {"ipv6-address-no-zone", ValueType::ipv6      },
    {"ipv4-prefix",          ValueType::ipv4prefix},
    {"duration",             ValueType::duration  },
};

} // namespace

Value make_number(ValueType type, std::int64_t number)
{
    Value v;
    v.type = type;
    v.number = number;
    return v;
}

Value make_text(ValueType type, std::string_view text)
{
    Value v;
    v.type = type;
    v.bytes = text;
    return v;
}

Value make_tag(ValueType type, std::uint32_t tag, std::uint32_t ns)
{
    Value v;
    v.type = type;
    v.tag = tag;
    v.ns = ns;
    return v;
}

bool is_value_type(std::uint8_t number)
{
    constexpr std::uint8_t known[] = {0,  4,  5,  8,  11, 12, 13, 15, 16, 17, 28,
                                      32, 33, 39, 64, 65, 66, 67, 68, 69, 70, 71};
    return std::find(std::begin(known), std::end(known), number) != std::end(known);
}

bool is_number(ValueType type, std::int64_t *low, std::int64_t *high)
{
    for (const NumberRow &row : numbers) {
        if (row.type != type) continue;
        if (low) *low = row.low;
        if (high) *high = row.high;
        return true;
    }
    return false;
}

ValueType type_of_model(std::string_view base_type)
{
    for (const TypeRow &row : types) {
        if (row.name == base_type) return row.type;
    }
    return ValueType::noexists;
}

std::uint32_t tag_of_name(std::string_view name)
{
    std::uint32_t hash = 2166136261U;
    for (const char c : name)
        hash = (hash ^ static_cast<std::uint8_t>(c)) * 16777619U;
    return hash & 0x7fffffffU;
}

} // namespace proto
