#include "agent/model/paths.h"

#include <string_view>

#include <libyang/libyang.h>

#include "agent/model/keypath.h"
#include "agent/model/values.h"

namespace model {

namespace {

bool in_module(const lysc_node *node, const std::string &module)
{
    return module.empty() || node->module->name == module || node->module->prefix == module;
}

const lysc_node *child_of_step(const Models &models, const lysc_node *parent, const RawStep &raw,
                               const lys_module *only)
{
    for (const lysc_node *node : children(models, parent)) {
        if (node->name == raw.name && in_module(node, raw.module) && (!only || node->module == only)) return node;
    }
    return nullptr;
}

bool take_raw_keys(const RawStep &raw, Step *step, std::string *error)
{
    const bool is_list = step->schema->nodetype == LYS_LIST;
    const std::vector<const lysc_node *> leaves =
        is_list ? keys_of_list(step->schema) : std::vector<const lysc_node *>{step->schema};
    if ((step->schema->nodetype & (LYS_LIST | LYS_LEAFLIST)) == 0 || raw.keys.size() != leaves.size()) {
        *error = raw.name + " does not have " + std::to_string(raw.keys.size()) + " keys";
        return false;
    }
    for (std::size_t i = 0; i < leaves.size(); i++) {
        if (canonical_text(leaves[i], raw.keys[i], &step->keys.emplace_back())) continue;
        *error =
            "\"" + proto::printable(raw.keys[i]) + "\" is no " + leaves[i]->name + ": expected " + accepted(leaves[i]);
        return false;
    }
    return true;
}

bool is_open_list(const Step &step)
{
    return step.schema->nodetype == LYS_LIST && step.keys.empty() && step.position < 0;
}

bool append_step(const Models &models, const RawStep &raw, const lys_module *only, Target *target, std::string *error)
{
    if (!target->steps.empty() && is_open_list(target->steps.back())) {
        *error = std::string("the keys of ") + target->steps.back().schema->name + " are missing";
        return false;
    }
    Step step;
    step.schema = child_of_step(models, schema_of(*target), raw, only);
    if (!step.schema) {
        *error = "there is no " + proto::printable(raw.name) + " below " + keypath_of(*target);
        return false;
    }
    if (raw.position >= 0 && (step.schema->nodetype & (LYS_LIST | LYS_LEAFLIST)) == 0) {
        *error = raw.name + " is no list";
        return false;
    }
    step.position = raw.position;
    if (raw.has_keys && !take_raw_keys(raw, &step, error)) return false;
    target->steps.push_back(step);
    return true;
}

std::vector<std::string> key_texts(const lyd_node *node)
{
    std::vector<std::string> keys;
    if (node->schema->nodetype == LYS_LEAFLIST) keys.emplace_back(lyd_get_value(node));
    if (node->schema->nodetype != LYS_LIST) return keys;
    for (const lyd_node *key = lyd_child(node); key && lysc_is_key(key->schema); key = key->next)
        keys.emplace_back(lyd_get_value(key));
    return keys;
}

} // namespace

const lysc_node *schema_of(const Target &target)
{
    return target.steps.empty() ? nullptr : target.steps.back().schema;
}

bool resolve(const Models &models, const std::string &text, const Base &base, Target *target, std::string *error)
{
    const bool absolute = text.starts_with('/');
    std::vector<RawStep> raw;
    if (!split_keypath(std::string_view(text).substr(absolute ? 1 : 0), &raw)) {
        *error = "\"" + proto::printable(text) + "\" is no path";
        return false;
    }
    *target = absolute ? Target{} : base.cd;
    const bool in_namespace = target->steps.empty() && !absolute && base.ns != 0;
    const lys_module *only = in_namespace ? module_of_ns(models, base.ns) : nullptr;
    if (in_namespace && !only) {
        *error = "there is no model with namespace " + std::to_string(base.ns);
        return false;
    }
    for (const RawStep &step : raw) {
        if (!append_step(models, step, target->steps.empty() ? only : nullptr, target, error)) return false;
    }
    return true;
}

bool data_path(const Target &target, std::string *path)
{
    path->clear();
    for (const Step &step : target.steps) {
        if (step.position >= 0 || (is_open_list(step) && &step != &target.steps.back())) return false;
        *path += "/" + std::string(step.schema->module->name) + ":" + step.schema->name;
        const bool is_list = step.schema->nodetype == LYS_LIST;
        const std::vector<const lysc_node *> leaves =
            is_list ? keys_of_list(step.schema) : std::vector<const lysc_node *>{};
        for (std::size_t i = 0; i < step.keys.size(); i++) {
            const bool has_single = step.keys[i].find('\'') != std::string::npos;
            if (has_single && step.keys[i].find('"') != std::string::npos) return false;
            const char *quote = has_single ? "\"" : "'";
            *path += std::string("[") + (is_list ? leaves[i]->name : ".") + "=" + quote + step.keys[i] + quote + "]";
        }
    }
    return true;
}

std::string keypath_of(const lyd_node *node)
{
    std::string path;
    for (; node; node = lyd_parent(node))
        path.insert(0, "/" + std::string(node->schema->name) + in_braces(key_texts(node)));
    return path;
}

std::string keypath_of(const Target &target)
{
    std::string path;
    for (const Step &step : target.steps) {
        path += "/" + std::string(step.schema->name) + in_braces(step.keys);
        if (step.position >= 0) path += "[" + std::to_string(step.position) + "]";
    }
    return path.empty() ? "/" : path;
}

} // namespace model
