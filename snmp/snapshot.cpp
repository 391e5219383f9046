#include "snmp/snapshot.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <map>
#include <optional>
#include <string_view>

#include "snmp/columns.h"
#include "snmp/netsnmp.h"

namespace snmp {

namespace {

constexpr std::uint64_t max_integer = INT32_MAX;
constexpr std::uint64_t max_gauge = UINT32_MAX;
constexpr std::uint64_t bits_per_mbit = 1000000;
constexpr std::size_t max_text = 255;

using Row = std::map<std::string_view, std::string_view>; // leaf and text, into the tree

struct Rows {
    std::string_view count; // ifNumber
    std::map<long, Row> by_index;
};

struct Converted {
    unsigned char type = 0;
    std::string bytes;
};
using Value = std::optional<Converted>;

struct EnumName {
    std::string_view name;
    std::uint64_t number;
};
constexpr EnumName enum_names[] = {
    {"up",              1  },
    {"down",            2  },
    {"other",           1  },
    {"gigabitEthernet", 117},
};

template <typename T> std::string memory_of(const T &value)
{
    return {reinterpret_cast<const char *>(&value), sizeof value};
}

std::optional<std::uint64_t> number_of(std::string_view text)
{
    std::uint64_t number = 0;
    const auto [end, code] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (code != std::errc() || end != text.data() + text.size()) return std::nullopt;
    return number;
}

std::optional<std::uint64_t> number_of_name(std::string_view text)
{
    for (const EnumName &row : enum_names)
        if (text == row.name) return row.number;
    return std::nullopt;
}

Value number_up_to(std::optional<std::uint64_t> number, std::uint64_t most, unsigned char type)
{
    if (!number || *number > most) return std::nullopt;
    return Converted{type, memory_of(static_cast<unsigned long>(*number))};
}

Value wide_number(std::optional<std::uint64_t> number)
{
    if (!number) return std::nullopt;
    const counter64 wide{static_cast<u_long>(*number >> 32), static_cast<u_long>(*number & UINT32_MAX)};
    return Converted{ASN_COUNTER64, memory_of(wide)};
}

std::optional<std::uint64_t> bits_per_second(std::optional<std::uint64_t> mbits)
{
    if (!mbits) return std::nullopt;
    return *mbits > max_gauge / bits_per_mbit ? max_gauge : *mbits * bits_per_mbit;
}

// "02:00:00:00:01:01" and a NUL, in base64.
Value hardware_address(std::string_view base64)
{
    proto::Value text;
    if (!proto::from_text(proto::ValueType::binary, base64, &text) || text.bytes.size() < 17) return std::nullopt;
    std::string octets;
    for (const char *at = text.bytes.data(); octets.size() < 6; at += 3) {
        unsigned octet = 0;
        const auto [end, code] = std::from_chars(at, at + 2, octet, 16);
        if (code != std::errc() || end != at + 2) return std::nullopt;
        octets.push_back(static_cast<char>(octet));
    }
    return Converted{ASN_OCTET_STR, octets};
}

Value convert(Syntax syntax, std::string_view text)
{
    switch (syntax) {
    case Syntax::integer:
        return number_up_to(number_of(text), max_integer, ASN_INTEGER);
    case Syntax::enumeration:
        return number_up_to(number_of_name(text), max_integer, ASN_INTEGER);
    case Syntax::text:
        return Converted{ASN_OCTET_STR, std::string(text.substr(0, max_text))};
    case Syntax::address:
        return hardware_address(text);
    case Syntax::speed:
        return number_up_to(bits_per_second(number_of(text)), max_gauge, ASN_GAUGE);
    case Syntax::gauge:
        return number_up_to(number_of(text), max_gauge, ASN_GAUGE);
    case Syntax::counter:
        return number_up_to(number_of(text), max_gauge, ASN_COUNTER);
    case Syntax::counter64:
        return wide_number(number_of(text));
    }
    return std::nullopt;
}

Rows rows_of(const proto::Tree &tree, std::string *fault)
{
    Rows rows;
    Row *row = nullptr;
    for (const proto::TreeNode &node : tree.nodes) {
        if (node.kind == proto::NodeKind::error_mark && fault->empty()) *fault = node.text;
        if (node.kind == proto::NodeKind::entry) row = nullptr;
        if (node.kind != proto::NodeKind::leaf) continue;
        if (node.name == "ifNumber") rows.count = node.text;
        const auto index = node.is_key ? number_of(node.text) : std::nullopt;
        if (index && *index <= max_integer) row = &rows.by_index[static_cast<long>(*index)];
        if (row != nullptr) (*row)[node.name] = node.text;
    }
    return rows;
}

void add(Snapshot *snapshot, std::span<const unsigned long> root, std::initializer_list<unsigned long> suffix,
         const Value &value)
{
    if (!value) return;
    Object object;
    object.length = root.size() + suffix.size();
    std::copy(suffix.begin(), suffix.end(), std::copy(root.begin(), root.end(), object.name.begin()));
    object.type = value->type;
    object.bytes = value->bytes;
    snapshot->objects.push_back(std::move(object));
}

void add_table(Snapshot *snapshot, const Rows &rows, std::span<const unsigned long> root,
               std::span<const Column> columns)
{
    for (const Column &column : columns) {
        for (const auto &[index, row] : rows.by_index) {
            const auto leaf = row.find(column.leaf);
            if (leaf == row.end()) continue;
            add(snapshot, root, {1, column.number, static_cast<unsigned long>(index)},
                convert(column.syntax, leaf->second));
        }
    }
}

struct Name {
    const unsigned long *at;
    std::size_t length;
};

bool is_less(Name a, Name b)
{
    return std::lexicographical_compare(a.at, a.at + a.length, b.at, b.at + b.length);
}

} // namespace

Snapshot make_snapshot(const proto::Tree &tree)
{
    Snapshot snapshot;
    const Rows rows = rows_of(tree, &snapshot.fault);
    add(&snapshot, if_number, {0}, convert(Syntax::integer, rows.count));
    add_table(&snapshot, rows, if_table, if_table_columns());
    add_table(&snapshot, rows, if_x_table, if_x_table_columns());
    snapshot.usable = !rows.by_index.empty() || (snapshot.fault.empty() && !snapshot.objects.empty());
    return snapshot;
}

const Object *find_next_object(const Snapshot &snapshot, const unsigned long *name, std::size_t length)
{
    const auto next = std::upper_bound(snapshot.objects.begin(), snapshot.objects.end(), Name{name, length},
                                       [](Name a, const Object &b) {
                                           return is_less(a, Name{b.name.data(), b.length});
                                       });
    return next == snapshot.objects.end() ? nullptr : &*next;
}

const Object *find_object(const Snapshot &snapshot, const unsigned long *name, std::size_t length)
{
    const auto found = std::lower_bound(snapshot.objects.begin(), snapshot.objects.end(), Name{name, length},
                                        [](const Object &a, Name b) {
                                            return is_less(Name{a.name.data(), a.length}, b);
                                        });
    if (found == snapshot.objects.end() || is_less(Name{name, length}, Name{found->name.data(), found->length})) {
        return nullptr;
    }
    return &*found;
}

} // namespace snmp
