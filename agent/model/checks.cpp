#include <libyang/libyang.h>

#include "agent/model/deliveries.h"
#include "agent/model/pairing.h"
#include "agent/model/values.h"

namespace model {

namespace {

void ask_points(const Models &models, const Pairing &pair, std::vector<Check> *checks)
{
    const lyd_node *leaf = pair.after;
    const std::vector<std::string> &points = validation_points(models, leaf->schema);
    if (points.empty() || (pair.before && same_value(pair))) return;
    const bool is_list = leaf->schema->nodetype == LYS_LEAFLIST;
    const proto::Value value = is_list ? to_list_value(leaf, leaf->schema) : to_value(leaf);
    for (const std::string &point : points)
        checks->push_back({point, keypath_of(leaf), wire_path(models, leaf), value});
}

void walk(const Models &models, const Pairing &pair, std::vector<Check> *checks)
{
    if (!pair.after) return;
    if (pair.after->schema->nodetype & LYD_NODE_TERM) {
        ask_points(models, pair, checks);
        return;
    }
    for (const Pairing &inner : pair_siblings(child_or_null(pair.before), lyd_child(pair.after)))
        walk(models, inner, checks);
}

} // namespace

std::vector<Check> checks(const Models &models, const lyd_node *before, const lyd_node *after)
{
    std::vector<Check> list;
    const std::vector<Pairing> pairs = pair_siblings(before, after);
    // A tree keeps the order of the schema except among the top-level nodes of different models.
    for (const lysc_node *top : children(models, nullptr)) {
        for (const Pairing &pair : pairs) {
            if (either(pair)->schema == top) walk(models, pair, &list);
        }
    }
    return list;
}

} // namespace model
