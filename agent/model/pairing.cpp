#include "agent/model/pairing.h"

#include <algorithm>
#include <string_view>

namespace model {

namespace {

// The library finds entries by hash, so that pairing long lists stays linear.
const lyd_node *counterpart(const lyd_node *siblings, const lyd_node *node)
{
    lyd_node *match = nullptr;
    if (!siblings) return nullptr;
    if (node->schema->nodetype == LYS_LIST) {
        lyd_find_sibling_first(siblings, node, &match);
    } else {
        lyd_find_sibling_val(siblings, node->schema, nullptr, 0, &match);
    }
    return match;
}

bool is_later_item(const lyd_node *node)
{
    const bool is_first_child = node->prev->next == nullptr;
    return node->schema->nodetype == LYS_LEAFLIST && !is_first_child && node->prev->schema == node->schema;
}

std::vector<std::string_view> items_of(const lyd_node *first)
{
    std::vector<std::string_view> items;
    for (const lyd_node *node = first; node && node->schema == first->schema; node = node->next)
        items.emplace_back(lyd_get_value(node));
    return items;
}

} // namespace

std::vector<Pairing> pair_siblings(const lyd_node *before, const lyd_node *after)
{
    std::vector<Pairing> pairs;
    for (const lyd_node *node = before; node; node = node->next) {
        if (!is_later_item(node) && !counterpart(after, node)) pairs.push_back({node, nullptr});
    }
    for (const lyd_node *node = after; node; node = node->next) {
        if (!is_later_item(node)) pairs.push_back({counterpart(before, node), node});
    }
    return pairs;
}

bool same_value(const Pairing &pair)
{
    if (pair.after->schema->nodetype == LYS_LEAF) return lyd_compare_single(pair.before, pair.after, 0) == LY_SUCCESS;
    std::vector<std::string_view> before = items_of(pair.before);
    std::vector<std::string_view> after = items_of(pair.after);
    if (!lysc_is_userordered(pair.after->schema)) {
        std::sort(before.begin(), before.end());
        std::sort(after.begin(), after.end());
    }
    return before == after;
}

} // namespace model
