#include "cli/json.h"

#include <algorithm>
#include <cstdio>

#include "protocol/value.h"

namespace cli {

namespace {

using proto::NodeKind;
using proto::ValueType;

bool is_control(char c)
{
    return static_cast<unsigned char>(c) < 0x20 || c == 0x7f;
}

void put_control(char c, std::string *out)
{
    char escape[8];
    std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(static_cast<unsigned char>(c)));
    *out += c == '\n' ? "\\n" : c == '\t' ? "\\t" : escape;
}

void put_run(std::string_view run, std::string *out)
{
    for (const char c : proto::printable(run)) {
        if (c == '"' || c == '\\') *out += '\\';
        *out += c;
    }
}

bool is_json_number(std::string_view text)
{
    const std::string_view digits = text.substr(!text.empty() && text.front() == '-' ? 1 : 0);
    return !digits.empty() && digits.size() < 12 && (digits.size() == 1 || digits.front() != '0') &&
           std::all_of(digits.begin(), digits.end(), [](char c) { return c >= '0' && c <= '9'; });
}

// Bare only where the type says so and the text keeps the document valid.
std::string json_value(const proto::TreeNode &node)
{
    switch (node.type) {
    case ValueType::int8:
    case ValueType::int16:
    case ValueType::int32:
    case ValueType::uint8:
    case ValueType::uint16:
    case ValueType::uint32:
        return is_json_number(node.text) ? node.text : json_string(node.text);
    case ValueType::boolean:
        return node.text == "true" || node.text == "false" ? node.text : json_string(node.text);
    case ValueType::noexists: // a leaf of type empty
        return node.text.empty() ? "[null]" : json_string(node.text);
    default:
        return json_string(node.text);
    }
}

std::string json_children(const Node &parent, std::vector<std::string> extra);

std::string json_node(const Node &node)
{
    const bool leaf = is(node, NodeKind::leaf) || is(node, NodeKind::item);
    return leaf ? json_value(*node.data) : json_children(node, {});
}

// All children named like children[at], when that is the first of them.
std::string json_group(const std::vector<Node> &children, std::size_t at)
{
    const Node &first = children[at];
    std::vector<std::string> values;
    for (std::size_t i = 0; i < children.size(); i++) {
        if (children[i].data->name != first.data->name || is(children[i], NodeKind::error_mark)) continue;
        if (i < at) return {};
        values.push_back(json_node(children[i]));
    }
    const bool many = is(first, NodeKind::entry) || is(first, NodeKind::item);
    return json_member(first.data->name, many ? json_array(values) : values.front());
}

std::string json_children(const Node &parent, std::vector<std::string> extra)
{
    std::vector<std::string> members;
    for (std::size_t i = 0; i < parent.children.size(); i++) {
        if (is(parent.children[i], NodeKind::error_mark)) continue;
        std::string member = json_group(parent.children, i);
        if (!member.empty()) members.push_back(std::move(member));
    }
    for (std::string &member : extra)
        members.push_back(std::move(member));
    return json_object(members);
}

std::string joined(const std::vector<std::string> &parts, char open, char close)
{
    std::string out(1, open);
    for (const std::string &part : parts)
        out += (out.size() > 1 ? "," : "") + part;
    return out + close;
}

} // namespace

std::string json_string(std::string_view text)
{
    std::string out = "\"";
    std::size_t run = 0;
    for (std::size_t i = 0; i < text.size(); i++) {
        if (!is_control(text[i])) continue;
        put_run(text.substr(run, i - run), &out);
        put_control(text[i], &out);
        run = i + 1;
    }
    put_run(text.substr(run), &out);
    return out + '"';
}

std::string json_member(std::string_view name, std::string_view json)
{
    return json_string(name) + ":" + std::string(json);
}

std::string json_text(std::string_view name, std::string_view text)
{
    return json_member(name, json_string(text));
}

std::string json_object(const std::vector<std::string> &members)
{
    return joined(members, '{', '}');
}

std::string json_array(const std::vector<std::string> &values)
{
    return joined(values, '[', ']');
}

std::string json_tree(const Node &root)
{
    std::vector<std::string> errors;
    for (const Mark &mark : harvest(root).marks)
        errors.push_back(json_object({json_text("path", mark.path), json_text("text", mark.text)}));
    if (errors.empty()) return json_children(root, {});
    return json_children(root, {json_member("errors", json_array(errors))});
}

} // namespace cli
