#include "cli/forest.h"

#include <algorithm>
#include <cstddef>

namespace cli {

namespace {

constexpr std::size_t deepest = 64; // renderers recurse

bool opens(proto::NodeKind kind)
{
    return kind == proto::NodeKind::container || kind == proto::NodeKind::entry;
}

// Adds what follows nodes[*at] up to the matching end to `parent`.
bool plant_below(const proto::Tree &tree, std::size_t *at, std::size_t depth, Node *parent)
{
    while (*at < tree.nodes.size()) {
        const proto::TreeNode &node = tree.nodes[(*at)++];
        if (node.kind == proto::NodeKind::end) return depth > 0;
        const bool of_parent =
            node.kind == proto::NodeKind::error_mark && depth > 0 && node.name == local_name(*parent);
        parent->children.push_back({&node, {}, of_parent});
        if (!opens(node.kind)) continue;
        if (depth == deepest || !plant_below(tree, at, depth + 1, &parent->children.back())) return false;
    }
    return depth == 0;
}

std::string step_of(const Node &node)
{
    if (node.data->name.empty() || node.of_parent) return {};
    std::string step = "/" + std::string(local_name(node));
    if (!is(node, proto::NodeKind::entry)) return step;
    std::string keys;
    for (const std::string &key : keys_of(node))
        keys += (keys.empty() ? "" : " ") + key;
    return step + "{" + keys + "}";
}

// `leading`: all that was read stands below the parent. As long as that is one node, the keys beside it are its
// address.
void harvest_below(const Node &parent, const std::string &path, bool leading, Yield *yield)
{
    const auto is_key = [](const Node &node) { return node.data->is_key; };
    const auto keys = std::count_if(parent.children.begin(), parent.children.end(), is_key);
    leading = leading && keys + 1 == std::ssize(parent.children);
    for (const Node &node : parent.children) {
        if (is(node, proto::NodeKind::error_mark)) yield->marks.push_back({path + step_of(node), node.data->text});
        const bool value = is(node, proto::NodeKind::leaf) || is(node, proto::NodeKind::item);
        if (value && !(leading && node.data->is_key)) yield->values++;
        if (!node.children.empty()) harvest_below(node, path + step_of(node), leading, yield);
    }
}

} // namespace

bool plant(const proto::Tree &tree, Node *root)
{
    *root = Node{};
    std::size_t at = 0;
    return plant_below(tree, &at, 0, root);
}

bool is(const Node &node, proto::NodeKind kind)
{
    return node.data != nullptr && node.data->kind == kind;
}

std::string_view local_name(const Node &node)
{
    const std::string_view name = node.data->name;
    const std::size_t colon = name.find(':');
    return colon == std::string_view::npos ? name : name.substr(colon + 1);
}

const Node *find(const Node &root, std::string_view path)
{
    const std::string_view name = path.substr(0, path.find('/'));
    for (const Node &child : root.children) {
        if (local_name(child) != name || !is(child, proto::NodeKind::container)) continue;
        return name.size() == path.size() ? &child : find(child, path.substr(name.size() + 1));
    }
    return nullptr;
}

const Node *find_leaf(const Node &parent, std::string_view name)
{
    for (const Node &child : parent.children)
        if (local_name(child) == name) return &child;
    return nullptr;
}

std::vector<std::string> keys_of(const Node &entry)
{
    std::vector<std::string> keys;
    for (const Node &child : entry.children)
        if (child.data->is_key) keys.push_back(child.data->text);
    return keys;
}

Yield harvest(const Node &root)
{
    Yield yield;
    harvest_below(root, "", true, &yield);
    return yield;
}

} // namespace cli
