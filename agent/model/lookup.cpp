// Targets in data trees, and their form on the wire.
#include <algorithm>

#include <libyang/libyang.h>

#include "agent/model/paths.h"
#include "agent/model/values.h"

namespace model {

namespace {

bool has_keys(const lyd_node *node, const std::vector<std::string> &keys)
{
    if (node->schema->nodetype == LYS_LEAFLIST) return keys.empty() || keys[0] == lyd_get_value(node);
    const lyd_node *key = lyd_child(node);
    for (const std::string &wanted : keys) {
        if (!key || wanted != lyd_get_value(key)) return false;
        key = key->next;
    }
    return true;
}

// The instances among the siblings that the step names.
std::vector<const lyd_node *> instances(const lyd_node *siblings, const Step &step)
{
    std::vector<const lyd_node *> found;
    long position = 0;
    for (const lyd_node *node = siblings; node; node = node->next) {
        if (node->schema != step.schema) continue;
        const bool wanted = step.position >= 0 ? position == step.position : has_keys(node, step.keys);
        if (wanted) found.push_back(node);
        position++;
    }
    return found;
}

proto::PathElement tag_element(const Models &models, const lysc_node *node)
{
    return {false, tag_of(models, node), ns_of(models, node->module), {}};
}

} // namespace

std::vector<const lyd_node *> find_all(const lyd_node *tree, const Target &target)
{
    std::vector<const lyd_node *> found;
    const lyd_node *siblings = tree;
    for (const Step &step : target.steps) {
        found = instances(siblings, step);
        if (found.empty()) break;
        siblings = lyd_child(found.front());
    }
    return found;
}

const lyd_node *find(const lyd_node *tree, const Target &target)
{
    const std::vector<const lyd_node *> found = find_all(tree, target);
    return found.empty() ? nullptr : found.front();
}

bool exists(const lyd_node *tree, const Target &target)
{
    Target holder = target;
    while (!holder.steps.empty() && lysc_is_np_cont(holder.steps.back().schema))
        holder.steps.pop_back();
    return holder.steps.empty() || find(tree, holder);
}

namespace {

const lysc_node *choice_named(const Models &models, const lysc_node *parent, const std::string &name)
{
    for (const lysc_node *child : children(models, parent)) {
        for (const lysc_node *node = child->parent; node && node != parent; node = node->parent) {
            if (node->nodetype == LYS_CHOICE && node->name == name) return node;
        }
    }
    return nullptr;
}

} // namespace

bool chosen_case(const Models &models, const lyd_node *tree, const Target &parent, const std::string &choice,
                 const lysc_node **chosen)
{
    const lysc_node *wanted = choice_named(models, schema_of(parent), choice);
    const lyd_node *holder = find(tree, parent);
    if (!wanted || (!holder && !parent.steps.empty())) return false;
    for (const lyd_node *node = holder ? lyd_child(holder) : tree; node; node = node->next) {
        for (const lysc_node *at = node->schema; at->parent; at = at->parent) {
            if (at->parent != wanted) continue;
            *chosen = at;
            return true;
        }
    }
    return false;
}

proto::KeyPath wire_path(const Models &models, const lyd_node *node)
{
    proto::KeyPath path;
    for (; node; node = lyd_parent(node)) {
        if (node->schema->nodetype == LYS_LIST) path.push_back({true, 0, 0, keys_of(node)});
        path.push_back(tag_element(models, node->schema));
    }
    return path;
}

proto::KeyPath wire_path(const Models &models, const lysc_node *node,
                         const std::vector<std::vector<proto::Value>> &keys_of_lists)
{
    std::vector<const lysc_node *> nodes; // outermost first
    for (; node; node = data_parent(node))
        nodes.insert(nodes.begin(), node);
    proto::KeyPath path; // outermost first until it is turned round
    std::size_t list = 0;
    for (const lysc_node *at : nodes) {
        path.push_back(tag_element(models, at));
        if (at->nodetype == LYS_LIST && list < keys_of_lists.size())
            path.push_back({true, 0, 0, keys_of_lists[list++]});
    }
    std::reverse(path.begin(), path.end());
    return path;
}

} // namespace model
