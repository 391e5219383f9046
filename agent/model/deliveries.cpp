#include "agent/model/deliveries.h"

#include <algorithm>
#include <iterator>
#include <numeric>

#include <libyang/libyang.h>

#include "agent/model/pairing.h"
#include "agent/model/values.h"

namespace model {

namespace {

constexpr std::uint8_t created = 1;
constexpr std::uint8_t deleted = 2;
constexpr std::uint8_t modified = 3;

using Calls = std::vector<proto::Deliver>;

struct Context {
    const Models &models;
    const std::vector<Row> &rows;
};

struct Changed {
    bool any = false;
    std::vector<proto::TagValue> values;
};

bool wants_values(const Row &row)
{
    return (row.sub.flags & proto::wants_values) != 0;
}
bool is_operational(const Row &row)
{
    return (row.sub.oper & proto::on_operational) != 0;
}

// Whether the node is what the row's path names, whose entries may be fixed by keys.
bool is_at(const Row &row, const lyd_node *node)
{
    for (auto step = row.target.steps.rbegin(); step != row.target.steps.rend(); ++step) {
        if (!node || node->schema != step->schema) return false;
        const lyd_node *key = lyd_child(node);
        for (const std::string &wanted : step->keys) {
            if (!key || wanted != lyd_get_value(key)) return false;
            key = key->next;
        }
        node = lyd_parent(node);
    }
    return true;
}

// What lies at or below this node belongs to a row of its own.
bool has_own_row(const Context &context, const lyd_node *node)
{
    return std::any_of(context.rows.begin(), context.rows.end(), [&](const Row &row) {
        return wants_values(row) && row.target.steps.back().schema == node->schema && is_at(row, node);
    });
}

proto::TagValue bracket(const Models &models, const lysc_node *node, proto::ValueType type)
{
    const std::uint32_t tag = tag_of(models, node);
    const std::uint32_t ns = ns_of(models, node->module);
    return {tag, ns, proto::make_tag(type, tag, ns)};
}

proto::TagValue value_pair(const Models &models, const lyd_node *node)
{
    const lysc_node *schema = node->schema;
    return {tag_of(models, schema), ns_of(models, schema->module),
            schema->nodetype == LYS_LEAFLIST ? to_list_value(node, schema) : to_value(node)};
}

enum class Rows : std::uint8_t { leave_out_deeper, ignore };

Changed changed_below(const Context &context, Rows rows, const lyd_node *before, const lyd_node *after);

void append(std::vector<proto::TagValue> *values, const std::vector<proto::TagValue> &more)
{
    values->insert(values->end(), more.begin(), more.end());
}

void note_leaf(const Context &context, const Pairing &pair, Changed *out)
{
    if (pair.before && pair.after && same_value(pair)) return;
    out->any = true;
    if (pair.after) out->values.push_back(value_pair(context.models, pair.after));
}

// A container, or an entry of a list that has no row of its own. The existence of a container without presence is no
// change; that of an entry or a presence container is.
void note_inner(const Context &context, Rows rows, const Pairing &pair, Changed *out)
{
    const lysc_node *schema = either(pair)->schema;
    const Changed inner = changed_below(context, rows, child_or_null(pair.before), child_or_null(pair.after));
    const bool came_or_went = (!pair.before || !pair.after) && !lysc_is_np_cont(schema);
    if (!inner.any && !came_or_went) return;
    out->any = true;
    if (!pair.after || (inner.values.empty() && !came_or_went)) return;
    out->values.push_back(bracket(context.models, schema, proto::ValueType::xmlbegin));
    if (schema->nodetype == LYS_LIST) {
        for (const lyd_node *key = lyd_child(pair.after); key && lysc_is_key(key->schema); key = key->next)
            out->values.push_back(value_pair(context.models, key));
    }
    append(&out->values, inner.values);
    out->values.push_back(bracket(context.models, schema, proto::ValueType::xmlend));
}

Changed changed_below(const Context &context, Rows rows, const lyd_node *before, const lyd_node *after)
{
    Changed out;
    for (const Pairing &pair : pair_siblings(before, after)) {
        const lyd_node *node = either(pair);
        if (lysc_is_key(node->schema)) continue;
        if (rows == Rows::leave_out_deeper && has_own_row(context, node)) continue;
        if (node->schema->nodetype & LYD_NODE_TERM) {
            note_leaf(context, pair, &out);
        } else {
            note_inner(context, rows, pair, &out);
        }
    }
    return out;
}

Changed changed_in(const Context &context, const Row &row, const Pairing &pair)
{
    const Rows rows = wants_values(row) ? Rows::leave_out_deeper : Rows::ignore;
    return changed_below(context, rows, child_or_null(pair.before), child_or_null(pair.after));
}

std::uint8_t operation_of(const Pairing &pair)
{
    if (!pair.before) return created;
    return pair.after ? modified : deleted;
}

proto::Deliver make_call(const Context &context, const Row &row, const Pairing &pair, Changed changed)
{
    proto::Deliver call;
    call.row = static_cast<std::uint16_t>(&row - context.rows.data());
    call.operation = operation_of(pair);
    if (either(pair)->schema->nodetype == LYS_LIST) call.keys = keys_of(either(pair));
    if (pair.after && wants_values(row)) call.values = std::move(changed.values);
    return call;
}

bool concerns(const Row &row, const lyd_node *entry)
{
    return row.target.steps.back().schema != entry->schema || is_at(row, entry);
}

// The calls for the entries of `list` (null: of every list) among these siblings.
Calls calls_of_entries(const Context &context, const Row &row, const lysc_node *list, const lyd_node *before,
                       const lyd_node *after)
{
    Calls calls;
    for (const Pairing &pair : pair_siblings(before, after)) {
        const lyd_node *entry = either(pair);
        if (entry->schema->nodetype != LYS_LIST || (list && entry->schema != list)) continue;
        if (!concerns(row, entry)) continue;
        Changed changed = changed_in(context, row, pair);
        if (pair.before && pair.after && !changed.any) continue;
        calls.push_back(make_call(context, row, pair, std::move(changed)));
    }
    const auto rank = [](const proto::Deliver &call) { return call.operation == created ? 4 : int(call.operation); };
    std::stable_sort(calls.begin(), calls.end(), [&](const auto &a, const auto &b) { return rank(a) < rank(b); });
    return calls;
}

// A row's first call for a container is not worth making when the application starts with the same values.
bool all_defaults(const Context &context, const lyd_node *siblings)
{
    for (const lyd_node *node = siblings; node; node = node->next) {
        if (has_own_row(context, node)) continue;
        if (node->schema->nodetype & LYD_NODE_TERM) {
            if (!lyd_is_default(node)) return false;
        } else if (!lysc_is_np_cont(node->schema) || !all_defaults(context, lyd_child(node))) {
            return false;
        }
    }
    return true;
}

Calls calls_of_container(const Context &context, const Row &row, const Pairing &pair)
{
    if (!either(pair)) return {};
    const bool comes_or_goes = !pair.before || !pair.after;
    const bool has_presence = !lysc_is_np_cont(either(pair)->schema);
    Changed changed = changed_in(context, row, pair);
    if (!changed.any && !(comes_or_goes && has_presence)) return {};
    if (comes_or_goes && !has_presence && all_defaults(context, lyd_child(either(pair)))) return {};
    return {make_call(context, row, pair, std::move(changed))};
}

Calls calls_of_row(const Context &context, const Row &row, const lyd_node *before, const lyd_node *after)
{
    Target parent = row.target;
    parent.steps.pop_back();
    const Pairing node{find(before, row.target), find(after, row.target)};
    const lysc_node *schema = schema_of(row.target);
    if (schema->nodetype != LYS_LIST) {
        if (wants_values(row)) return calls_of_container(context, row, node);
        return calls_of_entries(context, row, nullptr, child_or_null(node.before), child_or_null(node.after));
    }
    const bool at_top = parent.steps.empty();
    return calls_of_entries(context, row, schema, at_top ? before : child_or_null(find(before, parent)),
                            at_top ? after : child_or_null(find(after, parent)));
}

enum class Kind : std::uint8_t { configuration, operational };

Calls calls_of_rows(const Models &models, const std::vector<Row> &rows, Kind kind, const lyd_node *before,
                    const lyd_node *after)
{
    const Context context{models, rows};
    std::vector<std::size_t> order(rows.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(),
                     [&](std::size_t a, std::size_t b) { return rows[a].sub.priority < rows[b].sub.priority; });
    Calls calls;
    for (const std::size_t i : order) {
        if (is_operational(rows[i]) != (kind == Kind::operational)) continue;
        Calls more = calls_of_row(context, rows[i], before, after);
        std::move(more.begin(), more.end(), std::back_inserter(calls));
    }
    return calls;
}

Calls numbered(Calls calls)
{
    std::uint32_t index = 0;
    for (proto::Deliver &call : calls) {
        call.index = index++;
        call.total = static_cast<std::uint32_t>(calls.size());
    }
    return calls;
}

bool check_row(const Models &models, const Row &row, std::string *error)
{
    const lysc_node *node = schema_of(row.target);
    if (!node || (node->nodetype & (LYS_CONTAINER | LYS_LIST)) == 0) {
        *error = "\"" + row.sub.path + "\" is neither a container nor a list";
        return false;
    }
    if (std::any_of(row.target.steps.begin(), row.target.steps.end(), [](const Step &s) { return s.position >= 0; })) {
        *error = "\"" + row.sub.path + "\" names an entry by its position";
        return false;
    }
    const char *callpoint = nullptr;
    const bool is_config = (node->flags & LYS_CONFIG_W) != 0;
    if (is_config == is_operational(row) || callpoint_node(models, node, &callpoint)) {
        *error = "\"" + row.sub.path + "\" is not of the kind that is subscribed to";
        return false;
    }
    return true;
}

} // namespace

bool prepare(const Models &models, const std::vector<proto::Subscription> &subscriptions, std::vector<Row> *rows,
             std::string *error)
{
    rows->clear();
    for (const proto::Subscription &sub : subscriptions) {
        Row row{sub, {}};
        if (!resolve(models, sub.path, {sub.ns, {}}, &row.target, error)) {
            *error = "subscription \"" + sub.path + "\": " + *error;
            return false;
        }
        if (!check_row(models, row, error)) return false;
        rows->push_back(std::move(row));
    }
    return true;
}

std::vector<proto::Deliver> difference(const Models &models, const std::vector<Row> &rows, const lyd_node *acknowledged,
                                       const lyd_node *running)
{
    return numbered(calls_of_rows(models, rows, Kind::configuration, acknowledged, running));
}

std::vector<proto::Deliver> first_delivery(const Models &models, const std::vector<Row> &rows,
                                           const lyd_node *acknowledged, const lyd_node *running)
{
    Calls calls = calls_of_rows(models, rows, Kind::configuration, acknowledged, running);
    std::erase_if(calls, [](const proto::Deliver &call) { return call.operation != deleted; });
    Calls all = calls_of_rows(models, rows, Kind::configuration, nullptr, running);
    std::move(all.begin(), all.end(), std::back_inserter(calls));
    return numbered(std::move(calls));
}

std::vector<proto::Deliver> operational_change(const Models &models, const std::vector<Row> &rows,
                                               const lyd_node *before, const lyd_node *after)
{
    return numbered(calls_of_rows(models, rows, Kind::operational, before, after));
}

} // namespace model
