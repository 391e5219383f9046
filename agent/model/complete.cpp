#include "agent/model/complete.h"

#include <string_view>

#include <libyang/libyang.h>

#include "agent/model/paths.h"
#include "agent/model/rules.h"
#include "agent/model/types.h"
#include "agent/model/values.h"

namespace model {

namespace {

struct Line {
    const Models &models;
    const lyd_node *data;
    const proto::Complete &request;
    proto::Candidates out;
};

void offer(Line *line, const std::string &word, const std::string &help)
{
    if (!word.empty() && !word.starts_with(line->request.partial)) return;
    for (const proto::Candidate &known : line->out.list) {
        if (known.word == word) return;
    }
    line->out.list.push_back({word, help});
}

bool leads_to_operational(const Models &models, const lysc_node *node)
{
    if ((node->flags & LYS_CONFIG_R) != 0) return true;
    for (const lysc_node *child : children(models, node)) {
        if (leads_to_operational(models, child)) return true;
    }
    return false;
}

bool is_offered(const Line &line, const lysc_node *node)
{
    if (lysc_is_key(node)) return false;
    if (line.request.source == proto::Source::operational) return leads_to_operational(line.models, node);
    return (node->flags & LYS_CONFIG_W) != 0;
}

void offer_children(Line *line, const lysc_node *parent)
{
    for (const lysc_node *node : children(line->models, parent)) {
        if (is_offered(*line, node)) offer(line, node->name, help_of(node));
    }
}

const char *default_of(const lysc_node *node)
{
    if (node->nodetype != LYS_LEAF) return nullptr;
    const auto *leaf = reinterpret_cast<const lysc_node_leaf *>(node);
    return leaf->dflt ? lyd_value_get_canonical(node->module->ctx, leaf->dflt) : nullptr;
}

const char *units_of(const lysc_node *node)
{
    if (node->nodetype == LYS_LEAF) return reinterpret_cast<const lysc_node_leaf *>(node)->units;
    if (node->nodetype == LYS_LEAFLIST) return reinterpret_cast<const lysc_node_leaflist *>(node)->units;
    return nullptr;
}

// Null too for a reference that is relative.
const lysc_node *referred_leaf(const Models &models, const lysc_node *leaf)
{
    const lysc_type *type = type_of_leaf(leaf);
    if (type->basetype != LY_TYPE_LEAFREF) return nullptr;
    const char *path = lyxp_get_expr(reinterpret_cast<const lysc_type_leafref *>(type)->path);
    return *path == '/' ? schema_at(models, path) : nullptr;
}

void offer_values_in_data(Line *line, const lyd_node *siblings, const lysc_node *leaf)
{
    for (const lyd_node *node = siblings; node; node = node->next) {
        if (node->schema == leaf) offer(line, lyd_get_value(node), help_of(leaf));
        offer_values_in_data(line, lyd_child(node), leaf);
    }
}

void offer_enum(Line *line, const lysc_type *type)
{
    const auto *definition = reinterpret_cast<const lysc_type_enum *>(type);
    LY_ARRAY_COUNT_TYPE i = 0;
    LY_ARRAY_FOR(definition->enums, i)
    {
        const char *description = definition->enums[i].dsc;
        offer(line, definition->enums[i].name, description ? description : "");
    }
}

void offer_values(Line *line, const lysc_node *leaf)
{
    if (!line->request.values) return;
    if (const lysc_node *target = referred_leaf(line->models, leaf)) {
        offer_values_in_data(line, line->data, target);
        return;
    }
    bool invented = false;
    for (const lysc_type *type : member_types(type_of_leaf(leaf))) {
        if (type->basetype == LY_TYPE_ENUM) offer_enum(line, type);
        if (type->basetype == LY_TYPE_BOOL) {
            offer(line, "true", help_of(leaf));
            offer(line, "false", help_of(leaf));
        }
        invented = invented || (type->basetype != LY_TYPE_ENUM && type->basetype != LY_TYPE_BOOL);
    }
    if (invented) offer(line, "", help_of(leaf));
}

// The next key of the list the target ends in: those that go with the keys already there.
void offer_keys(Line *line, const Target &target)
{
    const Step &step = target.steps.back();
    const std::vector<const lysc_node *> leaves = keys_of_list(step.schema);
    const std::size_t next = step.keys.size();
    for (const lyd_node *entry : find_all(line->data, target)) {
        const lyd_node *key = lyd_child(entry);
        for (std::size_t i = 0; key && i < next; i++)
            key = key->next;
        if (key) offer(line, lyd_get_value(key), help_of(leaves[next]));
    }
    offer(line, "", help_of(leaves[next]));
}

bool lacks_keys(const Target &target)
{
    const lysc_node *node = schema_of(target);
    return node && node->nodetype == LYS_LIST && target.steps.back().keys.size() < keys_of_list(node).size();
}

// Adds one word to the target: a name, or a key. False: nothing can follow.
bool take_word(const Models &models, const std::string &word, Target *target)
{
    if (lacks_keys(*target)) {
        std::vector<std::string> &keys = target->steps.back().keys;
        const lysc_node *leaf = keys_of_list(schema_of(*target))[keys.size()];
        return canonical_text(leaf, word, &keys.emplace_back());
    }
    const lysc_node *node = child_named(models, schema_of(*target), word);
    if (node) target->steps.push_back({node, {}, -1});
    return node != nullptr;
}

} // namespace

std::string help_of(const lysc_node *node)
{
    const std::string_view description = node->dsc ? node->dsc : "";
    std::string help(description.substr(0, description.find('\n')));
    const std::string wanted = accepted(node);
    const char *units = units_of(node);
    const char *value = default_of(node);
    std::string detail = wanted;
    if (units) detail += (detail.empty() ? "" : " ") + std::string(units);
    if (value) detail += (detail.empty() ? "default " : ", default ") + std::string(value);
    if (detail.empty()) return help;
    return help.empty() ? detail : help + " (" + detail + ")";
}

proto::Candidates complete(const Models &models, const lyd_node *data, const proto::Complete &request)
{
    Line line{models, data, request, {}};
    Target target;
    for (const std::string &word : request.words) {
        if (!take_word(models, word, &target)) return {};
    }
    const lysc_node *node = schema_of(target);
    if (lacks_keys(target)) {
        offer_keys(&line, target);
    } else if (node && (node->nodetype & LYD_NODE_TERM)) {
        offer_values(&line, node);
    } else {
        offer_children(&line, node);
    }
    return line.out;
}

} // namespace model
