#include <cstdio>

#include "cli/table.h"
#include "cli/view.h"
#include "protocol/value.h"

namespace cli {

namespace {

using proto::NodeKind;

constexpr std::size_t block_indent = 2;

std::string entry_name(const Node &node)
{
    std::string name(local_name(node));
    if (is(node, NodeKind::entry)) {
        for (const std::string &key : keys_of(node))
            name += " " + key;
    }
    return name;
}

std::string octets_text(const std::string &base64)
{
    proto::Value value;
    return proto::from_text(proto::ValueType::binary, base64, &value) ? value.bytes : base64;
}

// Line breaks and NULs that providers leave behind a text are stored as escapes: in a table they say nothing.
std::string without_end_marks(std::string text)
{
    constexpr std::string_view marks[] = {"\\x0a", "\\x0d", "\\x00"};
    for (const std::string_view mark : marks) {
        if (text.ends_with(mark)) return without_end_marks(text.substr(0, text.size() - mark.size()));
    }
    return text;
}

std::string cell_text(const Column &column, const Node &parent)
{
    if (column.cell == Cell::entry) return entry_name(parent);
    const Node *leaf = find_leaf(parent, column.leaf);
    if (leaf == nullptr) return {};
    if (is(*leaf, NodeKind::error_mark)) return "!";
    if (column.cell == Cell::duration) return duration_text(leaf->data->text);
    const bool octets = column.cell == Cell::octets;
    return without_end_marks(octets ? proto::printable(octets_text(leaf->data->text)) : leaf->data->text);
}

std::vector<const Node *> entries_of(const Node &parent)
{
    std::vector<const Node *> list;
    for (const Node &child : parent.children)
        if (is(child, NodeKind::entry)) list.push_back(&child);
    return list;
}

std::string grid_text(const Section &section, const std::vector<const Node *> &entries)
{
    std::vector<Heading> headings;
    for (const Column &column : section.columns) {
        const std::string unit = column.unit == nullptr ? "" : std::string(" ") + column.unit;
        headings.push_back({column.heading + unit, column.cell == Cell::number});
    }
    std::vector<Row> rows;
    for (const Node *entry : entries) {
        rows.emplace_back();
        for (const Column &column : section.columns)
            rows.back().push_back(cell_text(column, *entry));
    }
    return grid(headings, rows);
}

// Leaves that are absent are left out: a block says what there is.
std::string record_text(const Section &section, const Node &node, std::size_t indent)
{
    std::vector<Field> list;
    for (const Column &column : section.columns) {
        std::string text = column.cell == Cell::entry ? "" : cell_text(column, node);
        if (text.empty()) continue;
        trim_right(&text); // a reading may come with a blank of its own
        if (column.unit != nullptr && text != "!") text += std::string(" ") + column.unit;
        list.push_back({column.heading, std::move(text)});
    }
    return fields(list, indent);
}

std::string section_text(const Section &section, const Node &root)
{
    const Node *node = find(root, section.path);
    if (node == nullptr) return {};
    if (section.layout == Layout::record) return record_text(section, *node, 0);
    const std::vector<const Node *> entries = entries_of(*node);
    if (entries.empty()) return {};
    if (section.layout == Layout::grid) return grid_text(section, entries);
    std::string out;
    for (const Node *entry : entries) {
        out += (out.empty() ? "" : "\n") + proto::printable(entry_name(*entry)) + "\n" +
               record_text(section, *entry, block_indent);
    }
    return out;
}

} // namespace

std::string duration_text(const std::string &iso)
{
    proto::Value value;
    if (!proto::from_text(proto::ValueType::duration, iso, &value)) return iso;
    const auto &[years, months, days, hours, minutes, seconds, micros] = value.duration;
    if (years != 0 || months != 0) return iso;
    char text[64];
    std::snprintf(text, sizeof text, "%ud %02u:%02u:%02u", days, hours, minutes, seconds);
    return text;
}

std::string view_text(const View &view, const Node &root)
{
    std::string out;
    for (const Section &section : view.sections) {
        const std::string text = section_text(section, root);
        if (text.empty()) continue;
        if (!out.empty()) out += "\n";
        if (section.title != nullptr) out += std::string(section.title) + "\n";
        out += text;
    }
    for (const Mark &mark : harvest(root).marks)
        out += "! " + proto::printable(mark.path) + ": " + proto::printable(mark.text) + "\n";
    return out.empty() ? "(none)\n" : out;
}

} // namespace cli
