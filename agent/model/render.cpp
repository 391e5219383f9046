#include "agent/model/render.h"

#include <libyang/libyang.h>

#include "agent/model/pairing.h"
#include "agent/model/types.h"
#include "agent/model/values.h"

namespace model {

namespace {

proto::NodeKind kind_of(const lysc_node *node)
{
    switch (node->nodetype) {
    case LYS_LEAF:
        return proto::NodeKind::leaf;
    case LYS_LEAFLIST:
        return proto::NodeKind::item;
    case LYS_LIST:
        return proto::NodeKind::entry;
    default:
        return proto::NodeKind::container;
    }
}

struct Writer {
    proto::Tree tree;
    bool with_defaults;
};

void write_node(Writer *writer, const lyd_node *node, bool is_root);

void write_children(Writer *writer, const lyd_node *node)
{
    for (const lyd_node *child = lyd_child(node); child; child = child->next)
        write_node(writer, child, false);
}

void write_inner(Writer *writer, const lyd_node *node, bool is_root)
{
    std::vector<proto::TreeNode> &nodes = writer->tree.nodes;
    nodes.push_back(tree_node(node));
    const std::size_t opened = nodes.size();
    write_children(writer, node);
    if (nodes.size() == opened && lysc_is_np_cont(node->schema) && !is_root) {
        nodes.pop_back();
        return;
    }
    proto::TreeNode end;
    end.kind = proto::NodeKind::end;
    nodes.push_back(end);
}

void write_node(Writer *writer, const lyd_node *node, bool is_root)
{
    if (!writer->with_defaults && (node->flags & LYD_DEFAULT) && !is_root) return;
    if (node->schema->nodetype & LYD_NODE_TERM) {
        writer->tree.nodes.push_back(tree_node(node));
    } else {
        write_inner(writer, node, is_root);
    }
}

std::string text_of(const lyd_node *node)
{
    if (!(node->schema->nodetype & LYD_NODE_TERM)) return {};
    std::string text;
    const bool is_list = node->schema->nodetype == LYS_LEAFLIST;
    for (const lyd_node *item = node; item && item->schema == node->schema; item = is_list ? item->next : nullptr)
        text += (text.empty() ? "" : " ") + std::string(lyd_get_value(item));
    return text;
}

// A leaf-list is shown as a whole, so its path is without an item.
std::string path_of(const lyd_node *node)
{
    if (node->schema->nodetype != LYS_LEAFLIST) return keypath_of(node);
    return keypath_of(lyd_parent(node)) + "/" + node->schema->name;
}

using Changes = std::vector<proto::Change>;

void list_whole(char op, const lyd_node *node, Changes *out)
{
    if (lysc_is_key(node->schema) || (node->flags & LYD_DEFAULT)) return;
    const std::string text = text_of(node);
    if (!lysc_is_np_cont(node->schema))
        out->push_back({op, path_of(node), op == '-' ? text : "", op == '+' ? text : ""});
    for (const Pairing &pair : pair_siblings(nullptr, lyd_child(node)))
        list_whole(op, pair.after, out);
}

void list_changes(const lyd_node *before, const lyd_node *after, Changes *out)
{
    for (const Pairing &pair : pair_siblings(before, after)) {
        if (!pair.before || !pair.after) {
            list_whole(pair.after ? '+' : '-', either(pair), out);
        } else if (!(pair.after->schema->nodetype & LYD_NODE_TERM)) {
            list_changes(lyd_child(pair.before), lyd_child(pair.after), out);
        } else if (!same_value(pair)) {
            out->push_back({'~', path_of(pair.after), text_of(pair.before), text_of(pair.after)});
        }
    }
}

std::string shown_name(const lysc_node *node)
{
    return (data_parent(node) ? "" : std::string(node->module->name) + ":") + node->name;
}

void open_step(const Step &step, proto::Tree *tree)
{
    tree->nodes.push_back({kind_of(step.schema), false, false, {}, shown_name(step.schema), ""});
    if (step.schema->nodetype != LYS_LIST) return;
    const std::vector<const lysc_node *> names = keys_of_list(step.schema);
    for (std::size_t i = 0; i < names.size() && i < step.keys.size(); i++)
        tree->nodes.push_back({proto::NodeKind::leaf, true, false, type_of(names[i]), names[i]->name, step.keys[i]});
}

struct Notified {
    const Models &models;
    std::vector<proto::Pair> *leaves;
    std::string *error;
    std::vector<const lysc_node *> open; // the notification first
};

bool take_leaf(Notified *at, const proto::TagValue &pair)
{
    const lysc_node *leaf = child_of_tag(at->models, at->open.back(), pair.tag);
    std::string text;
    if (!leaf) *at->error = "tag " + std::to_string(pair.tag) + " is not known in " + at->open.back()->name;
    if (!leaf || !value_text(leaf, pair.value, &text, at->error)) return false;
    at->leaves->push_back({leaf->name, text});
    return true;
}

const lysc_node *notification_of_tag(const Models &models, std::uint32_t tag)
{
    std::uint32_t index = 0;
    while (const lys_module *module = ly_ctx_get_module_iter(context(models), &index)) {
        const lysc_node *node = nullptr;
        while (module->compiled && (node = lys_getnext(node, nullptr, module->compiled, 0))) {
            if (node->nodetype == LYS_NOTIF && tag_of(models, node) == tag) return node;
        }
    }
    return nullptr;
}

bool take_begin(Notified *at, std::uint32_t tag)
{
    const lysc_node *node =
        at->open.empty() ? notification_of_tag(at->models, tag) : child_of_tag(at->models, at->open.back(), tag);
    if (!node) *at->error = "tag " + std::to_string(tag) + " names no notification";
    if (node) at->open.push_back(node);
    return node != nullptr;
}

} // namespace

proto::TreeNode tree_node(const lyd_node *node)
{
    proto::TreeNode out;
    out.kind = kind_of(node->schema);
    out.is_key = lysc_is_key(node->schema);
    out.is_default = (node->flags & LYD_DEFAULT) != 0;
    out.name = node->parent ? node->schema->name : std::string(node->schema->module->name) + ":" + node->schema->name;
    if (!(node->schema->nodetype & LYD_NODE_TERM)) return out;
    out.type = type_of(node->schema);
    out.text = lyd_get_value(node);
    return out;
}

proto::Tree to_tree(const std::vector<const lyd_node *> &roots, bool with_defaults)
{
    Writer writer{{}, with_defaults};
    for (const lyd_node *node : roots)
        write_node(&writer, node, true);
    return writer.tree;
}

proto::Tree to_tree(const lyd_node *tree, bool with_defaults)
{
    Writer writer{{}, with_defaults};
    for (const lyd_node *node = tree; node; node = node->next)
        write_node(&writer, node, false);
    return writer.tree;
}

proto::Tree rooted(const Target &target, proto::Tree tree)
{
    if (tree.nodes.empty() || target.steps.size() < 2) return tree;
    proto::Tree out;
    const std::size_t ancestors = target.steps.size() - 1;
    for (std::size_t i = 0; i < ancestors; i++)
        open_step(target.steps[i], &out);
    // A key stands there already.
    if (!lysc_is_key(target.steps.back().schema))
        out.nodes.insert(out.nodes.end(), tree.nodes.begin(), tree.nodes.end());
    out.nodes.resize(out.nodes.size() + ancestors, {proto::NodeKind::end, false, false, {}, "", ""});
    return out;
}

std::vector<proto::Change> changes(const lyd_node *before, const lyd_node *after)
{
    Changes out;
    list_changes(before, after, &out);
    return out;
}

bool identical(const lyd_node *before, const lyd_node *after)
{
    const std::uint32_t options = LYD_COMPARE_FULL_RECURSION | LYD_COMPARE_DEFAULTS;
    return lyd_compare_siblings(before, after, options) == LY_SUCCESS;
}

bool notification_text(const Models &models, const std::vector<proto::TagValue> &values, std::string *name,
                       std::vector<proto::Pair> *leaves, std::string *error)
{
    Notified at{models, leaves, error, {}};
    leaves->clear();
    for (const proto::TagValue &pair : values) {
        if (pair.value.type == proto::ValueType::xmlbegin) {
            if (!take_begin(&at, pair.tag)) return false;
            if (at.open.size() == 1) *name = at.open.front()->name;
        } else if (at.open.empty()) {
            *error = "a notification begins with its own element";
            return false;
        } else if (pair.value.type == proto::ValueType::xmlend) {
            at.open.pop_back();
        } else if (!take_leaf(&at, pair)) {
            return false;
        }
    }
    if (values.empty()) *error = "an empty notification";
    return !values.empty();
}

} // namespace model
