#include "cli/forest.h"

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

void harvest_below(const Node &parent, const std::string &path, Yield *yield)
{
    for (const Node &node : parent.children) {
        const std::string here = path + step_of(node);
        if (is(node, proto::NodeKind::error_mark)) yield->marks.push_back({here, node.data->text});
        if (is(node, proto::NodeKind::leaf) || is(node, proto::NodeKind::item)) yield->values++;
        harvest_below(node, here, yield);
    }
}

// "/interface/GigabitEthernet{0/0}" as words.
proto::Words words_of_keypath(const std::string &path)
{
    proto::Words words;
    bool in_keys = false;
    bool fresh = true;
    for (const char c : path) {
        const bool ends = c == '{' || c == '}' || (c == (in_keys ? ' ' : '/'));
        if (c == '{' || c == '}') in_keys = c == '{';
        if (!ends && fresh) words.emplace_back();
        if (!ends && c != '"') words.back() += c;
        fresh = ends;
    }
    return words;
}

// How many of the words stand in front of the node: it is named by the last of them, or by the one before its keys.
std::size_t words_before(const proto::Words &words, const proto::TreeNode &first)
{
    for (std::size_t i = words.size(); i > 0; i--)
        if (words[i - 1].substr(words[i - 1].find(':') + 1) == first.name) return i - 1;
    return 0;
}

} // namespace

std::size_t put_under_path(const proto::Words &asked, proto::Tree *answer)
{
    std::vector<proto::TreeNode> &nodes = answer->nodes;
    if (nodes.empty() || nodes.front().name.find(':') != std::string::npos) return 0;
    const bool keypath = asked.size() == 1 && asked.front().starts_with('/');
    const proto::Words words = keypath ? words_of_keypath(asked.front()) : asked;
    const std::size_t above = words_before(words, nodes.front());
    std::vector<proto::TreeNode> opening(above, proto::TreeNode{proto::NodeKind::container, false, false, {}, "", ""});
    for (std::size_t i = 0; i < above; i++)
        opening[i].name = words[i];
    nodes.insert(nodes.begin(), opening.begin(), opening.end());
    nodes.resize(nodes.size() + above, proto::TreeNode{proto::NodeKind::end, false, false, {}, "", ""});
    return above;
}

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
    harvest_below(root, "", &yield);
    return yield;
}

} // namespace cli
