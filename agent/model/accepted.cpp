// What a leaf accepts, in words.
#include "agent/model/values.h"

#include <libyang/libyang.h>

#include "agent/model/types.h"

namespace model {

namespace {

std::string join(const std::vector<std::string> &items)
{
    std::string text;
    for (std::size_t i = 0; i < items.size(); i++) {
        if (i > 0) text += i + 1 == items.size() ? " or " : ", ";
        text += items[i];
    }
    return text;
}

std::string enum_names(const lysc_type *type)
{
    std::vector<std::string> names;
    const auto *definition = reinterpret_cast<const lysc_type_enum *>(type);
    LY_ARRAY_COUNT_TYPE i = 0;
    LY_ARRAY_FOR(definition->enums, i)
    {
        names.emplace_back(definition->enums[i].name);
    }
    return join(names);
}

std::string range_of(const lysc_range *range, bool is_signed)
{
    std::vector<std::string> parts;
    LY_ARRAY_COUNT_TYPE i = 0;
    LY_ARRAY_FOR(range->parts, i)
    {
        const auto &part = range->parts[i];
        std::string text = is_signed ? std::to_string(part.min_64) : std::to_string(part.min_u64);
        const std::string high = is_signed ? std::to_string(part.max_64) : std::to_string(part.max_u64);
        if (text != high) text.append("..").append(high);
        parts.push_back(text);
    }
    return join(parts);
}

std::string number_range(const lysc_type *type)
{
    const proto::ValueType kind = value_type_of(type);
    std::int64_t low = 0;
    std::int64_t high = 0;
    proto::is_number(kind, &low, &high);
    const lysc_range *range = reinterpret_cast<const lysc_type_num *>(type)->range;
    if (range) return range_of(range, low < 0);
    if (kind == proto::ValueType::uint64) return "a number from 0";
    return std::to_string(low) + ".." + std::to_string(high);
}

// The models give each pattern an error message that says what is expected.
std::string text_rules(const lysc_type *type)
{
    const auto *definition = reinterpret_cast<const lysc_type_str *>(type);
    std::string rules;
    LY_ARRAY_COUNT_TYPE i = 0;
    LY_ARRAY_FOR(definition->patterns, i)
    {
        const char *message = definition->patterns[i]->emsg;
        if (message) rules += (rules.empty() ? "" : ", ") + std::string(message);
    }
    if (!definition->length) return rules.empty() ? "text" : rules;
    const std::string length = range_of(definition->length, false);
    if (length.find('.') == std::string::npos && !rules.empty()) return rules; // of one length: the pattern shows it
    return length + (rules.empty() ? " characters" : " characters: " + rules);
}

std::string accepted_by(const lysc_type *type)
{
    const proto::ValueType kind = value_type_of(type);
    if (proto::is_number(kind) && kind != proto::ValueType::boolean && kind != proto::ValueType::enum_value)
        return number_range(type);
    switch (kind) {
    case proto::ValueType::boolean:
        return "true or false";
    case proto::ValueType::enum_value:
        return enum_names(type);
    case proto::ValueType::ipv4:
        return "an IPv4 address such as 192.168.1.1";
    case proto::ValueType::ipv6:
        return "an IPv6 address such as 2001:db8::1";
    case proto::ValueType::ipv4prefix:
        return "an IPv4 prefix such as 10.0.23.0/24";
    case proto::ValueType::duration:
        return "a duration such as P1DT2H";
    case proto::ValueType::binary:
        return "base64";
    default:
        return type->basetype == LY_TYPE_STRING ? text_rules(type) : "a value";
    }
}

} // namespace

std::string accepted(const lysc_node *leaf)
{
    const lysc_type *type = type_of_leaf(leaf);
    if (!type) return {};
    std::vector<std::string> texts;
    for (const lysc_type *member : member_types(type))
        texts.push_back(accepted_by(member));
    const std::string text = join(texts);
    return type->basetype == LY_TYPE_LEAFREF ? "an existing entry, " + text : text;
}

} // namespace model
