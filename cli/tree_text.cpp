#include "cli/tree_text.h"

#include "cli/words.h"
#include "protocol/value.h"

namespace cli {

namespace {

using proto::NodeKind;

constexpr std::size_t indent_width = 2;

std::string shown(const std::string &text)
{
    return quote_word(proto::printable(text));
}

// "GigabitEthernet 0/0", "mask 255.255.255.0", "ip"
std::string words_of(const Node &node)
{
    std::string line = shown(std::string(local_name(node)));
    if (is(node, NodeKind::entry)) {
        for (const std::string &key : keys_of(node))
            line += " " + shown(key);
    } else if (!is(node, NodeKind::container)) {
        // A leaf of type empty has no value.
        if (!node.data->text.empty() || node.data->type != proto::ValueType::noexists)
            line += " " + shown(node.data->text);
    }
    return line;
}

std::string mark_line(const Node &node, const std::string &before)
{
    std::string line = before + (node.of_parent ? "" : proto::printable(local_name(node)));
    if (line.ends_with(' ')) line.pop_back();
    return line + (line.empty() ? "" : ": ") + proto::printable(node.data->text);
}

std::vector<const Node *> inner(const Node &node)
{
    std::vector<const Node *> list;
    for (const Node &child : node.children)
        if (!child.data->is_key) list.push_back(&child);
    return list;
}

void write_block(const Node &node, std::size_t indent, const std::string &before, std::string *out)
{
    const std::string pad(indent, ' ');
    if (is(node, NodeKind::error_mark)) {
        *out += pad + "! " + mark_line(node, before) + "\n";
        return;
    }
    const std::string line = before + words_of(node);
    const std::vector<const Node *> below = inner(node);
    if (below.size() == 1) {
        write_block(*below.front(), indent, line + " ", out);
        return;
    }
    *out += pad + line + (node.data->is_default && below.empty() ? "  (default)" : "") + "\n";
    for (const Node *child : below)
        write_block(*child, indent + indent_width, "", out);
}

void write_sets(const Node &node, const std::string &before, std::string *out)
{
    if (is(node, NodeKind::error_mark)) {
        *out += "# could not be read: " + mark_line(node, before) + "\n";
        return;
    }
    const std::string line = before + words_of(node);
    const std::vector<const Node *> below = inner(node);
    if (below.empty()) *out += "set " + line + "\n";
    for (const Node *child : below)
        write_sets(*child, line + " ", out);
}

} // namespace

std::string indented_text(const Node &root)
{
    std::string out;
    for (const Node &child : root.children)
        write_block(child, 0, "", &out);
    return out;
}

std::string set_commands(const Node &root)
{
    std::string out;
    for (const Node &child : root.children)
        write_sets(child, "", &out);
    return out;
}

} // namespace cli
