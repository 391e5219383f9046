#include "agent/model/models.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <set>
#include <string_view>
#include <unordered_map>

#include <libyang/libyang.h>
#include <libyang/plugins_exts.h>

#include "agent/model/values.h"

namespace model {

struct Models {
    ly_ctx *ctx = nullptr;
    std::vector<const lys_module *> modules; // in the order of their names
    std::unordered_map<std::string_view, std::uint32_t> tags;
    std::unordered_map<const lys_module *, std::uint32_t> namespaces;
    std::vector<std::pair<const lysc_node *, const char *>> callpoints;
    std::unordered_map<const lysc_node *, std::vector<std::string>> validation;
    std::unordered_map<std::string, const char *> actions;                          // by operation
    std::unordered_map<const lysc_node *, std::vector<const lysc_node *>> children; // null: the top level
};

namespace {

constexpr std::uint16_t data_node_types = LYS_CONTAINER | LYS_LIST | LYS_LEAF | LYS_LEAFLIST;

bool is_ours(const lysc_ext_instance &ext)
{
    return std::string_view(ext.def->module->name) == "gwx";
}

bool parse_hash(const char *text, std::uint32_t *hash)
{
    char *end = nullptr;
    const unsigned long value = std::strtoul(text, &end, 0);
    *hash = static_cast<std::uint32_t>(value);
    return end != text && *end == '\0' && value <= UINT32_MAX;
}

std::string last_error(ly_ctx *ctx)
{
    const char *text = ly_errmsg(ctx);
    const char *path = ly_errpath(ctx);
    return std::string(text ? text : "unknown error") + (path ? std::string(" ") + path : "");
}

bool is_data(const lysc_node *node)
{
    return (node->nodetype & data_node_types) != 0;
}

void append_children(const lysc_node *parent, const lysc_module *module, std::vector<const lysc_node *> *out)
{
    const lysc_node *node = nullptr;
    while ((node = lys_getnext(node, parent, module, 0))) {
        if (is_data(node)) out->push_back(node);
    }
}

struct Scan {
    Models *models = nullptr;
    std::unordered_map<std::string_view, std::uint32_t> bound;
    std::vector<const char *> names;
    std::string error;
};

void bind_name(Scan *scan, const char *name, const char *argument)
{
    std::uint32_t hash = 0;
    if (!parse_hash(argument, &hash)) {
        scan->error = std::string("the hash \"") + argument + "\" of " + name + " is no number";
        return;
    }
    const auto [at, is_new] = scan->bound.emplace(name, hash);
    if (!is_new && at->second != hash) scan->error = std::string("the name ") + name + " is given two hashes";
}

void note_extension(Scan *scan, const lysc_node *node, const lysc_ext_instance &ext)
{
    const std::string_view kind = ext.def->name;
    Models *models = scan->models;
    if (kind == "tag-hash") bind_name(scan, node->name, ext.argument);
    if (kind == "callpoint") models->callpoints.emplace_back(node, ext.argument);
    if (kind == "validation-point") models->validation[node].emplace_back(ext.argument);
    if (kind == "action-point") models->actions[node->name] = ext.argument;
}

LY_ERR scan_node(lysc_node *node, void *data, ly_bool *)
{
    auto *scan = static_cast<Scan *>(data);
    scan->names.push_back(node->name);
    append_children(node, nullptr, &scan->models->children[node]);
    if ((node->nodetype & (LYS_LEAF | LYS_LEAFLIST)) && type_of(node) == proto::ValueType::noexists)
        scan->error = std::string("the type of ") + node->name + " has no form that applications know";
    LY_ARRAY_COUNT_TYPE i = 0;
    LY_ARRAY_FOR(node->exts, i)
    {
        if (is_ours(node->exts[i])) note_extension(scan, node, node->exts[i]);
    }
    return LY_SUCCESS;
}

std::string scan_modules(Models *models)
{
    Scan scan{models, {}, {}, {}};
    for (const lys_module *module : models->modules) {
        lysc_module_dfs_full(module, scan_node, &scan);
        append_children(nullptr, module->compiled, &models->children[nullptr]);
    }
    if (!scan.error.empty()) return scan.error;

    std::unordered_map<std::uint32_t, std::string_view> owners;
    for (const char *name : scan.names) {
        const auto bound = scan.bound.find(name);
        const std::uint32_t hash = bound == scan.bound.end() ? proto::tag_of_name(name) : bound->second;
        models->tags[name] = hash;
        const auto [owner, is_new] = owners.emplace(hash, name);
        if (!is_new && owner->second != name)
            return std::string("the names ") + std::string(owner->second) + " and " + name + " share one hash";
    }
    return {};
}

bool namespace_hash(const lys_module *module, std::uint32_t *hash)
{
    *hash = proto::tag_of_name(module->name);
    LY_ARRAY_COUNT_TYPE i = 0;
    LY_ARRAY_FOR(module->compiled->exts, i)
    {
        const lysc_ext_instance &ext = module->compiled->exts[i];
        if (is_ours(ext) && std::string_view(ext.def->name) == "namespace-hash" && !parse_hash(ext.argument, hash))
            return false;
    }
    return true;
}

std::string name_namespaces(Models *models)
{
    for (const lys_module *module : models->modules) {
        std::uint32_t hash = 0;
        if (!namespace_hash(module, &hash))
            return std::string("the namespace hash of ") + module->name + " is no number";
        if (const lys_module *other = module_of_ns(*models, hash))
            return std::string("the models ") + other->name + " and " + module->name + " share one namespace hash";
        models->namespaces[module] = hash;
    }
    return {};
}

std::string check_top_level(const Models &models)
{
    std::set<std::string_view> seen;
    for (const lysc_node *node : children(models, nullptr)) {
        if (!seen.insert(node->name).second) return std::string("two models have the top-level node ") + node->name;
    }
    return {};
}

std::set<std::string> module_names(const std::string &dir)
{
    std::set<std::string> names;
    std::error_code ignored;
    for (const auto &file : std::filesystem::directory_iterator(dir, ignored)) {
        const std::string stem = file.path().stem().string();
        if (file.path().extension() == ".yang") names.insert(stem.substr(0, stem.find('@')));
    }
    return names;
}

std::string load_modules(Models *models, const std::string &dir)
{
    const std::set<std::string> names = module_names(dir);
    if (names.empty()) return "there are no models in " + dir;
    // Without its own library model the context is a third of the size.
    if (ly_ctx_new(dir.c_str(), LY_CTX_NO_YANGLIBRARY | LY_CTX_DISABLE_SEARCHDIR_CWD, &models->ctx))
        return "cannot search models in " + dir;
    for (const std::string &name : names) {
        const lys_module *module = ly_ctx_load_module(models->ctx, name.c_str(), nullptr, nullptr);
        if (!module) return "model " + name + ": " + last_error(models->ctx);
        models->modules.push_back(module);
    }
    return {};
}

} // namespace

void FreeModels::operator()(Models *models) const
{
    ly_ctx_destroy(models->ctx);
    delete models;
}

ModelsHandle load(const std::string &dir, std::string *error)
{
    ly_log_options(LY_LOSTORE_LAST); // kept for the caller, not printed
    ModelsHandle models(new Models);
    *error = load_modules(models.get(), dir);
    if (error->empty()) *error = scan_modules(models.get());
    if (error->empty()) *error = name_namespaces(models.get());
    if (error->empty()) *error = check_top_level(*models);
    if (!error->empty()) models.reset();
    return models;
}

ly_ctx *context(const Models &models)
{
    return models.ctx;
}

std::uint32_t tag_of(const Models &models, const lysc_node *node)
{
    const auto at = models.tags.find(node->name);
    return at == models.tags.end() ? proto::tag_of_name(node->name) : at->second;
}

std::uint32_t ns_of(const Models &models, const lys_module *module)
{
    const auto at = models.namespaces.find(module);
    return at == models.namespaces.end() ? 0 : at->second;
}

const lys_module *module_of_ns(const Models &models, std::uint32_t ns)
{
    for (const auto &[module, hash] : models.namespaces) {
        if (hash == ns) return module;
    }
    return nullptr;
}

std::vector<proto::TagName> tags(const Models &models)
{
    std::vector<proto::TagName> list;
    for (const auto &[name, hash] : models.tags)
        list.push_back({hash, std::string(name)});
    return list;
}

std::vector<proto::TagName> namespaces(const Models &models)
{
    std::vector<proto::TagName> list;
    for (const lys_module *module : models.modules)
        list.push_back({ns_of(models, module), module->name});
    return list;
}

const std::vector<const lysc_node *> &children(const Models &models, const lysc_node *parent)
{
    return models.children.at(parent);
}

const lysc_node *child_named(const Models &models, const lysc_node *parent, const std::string &name)
{
    for (const lysc_node *node : children(models, parent)) {
        if (node->name == name) return node;
    }
    return nullptr;
}

const lysc_node *child_of_tag(const Models &models, const lysc_node *parent, std::uint32_t tag)
{
    for (const lysc_node *node : children(models, parent)) {
        if (tag_of(models, node) == tag) return node;
    }
    return nullptr;
}

const lysc_node *data_parent(const lysc_node *node)
{
    node = node->parent;
    while (node && (node->nodetype & (LYS_CHOICE | LYS_CASE)))
        node = node->parent;
    return node;
}

std::vector<const lysc_node *> keys_of_list(const lysc_node *list)
{
    std::vector<const lysc_node *> keys;
    for (const lysc_node *node = lysc_node_child(list); node && lysc_is_key(node); node = node->next)
        keys.push_back(node);
    return keys;
}

bool has_point(const Models &models, PointKind kind, const std::string &name)
{
    const auto in_list = [&](const auto &at) {
        return std::find(at.second.begin(), at.second.end(), name) != at.second.end();
    };
    const auto is_it = [&](const auto &at) { return name == at.second; };
    switch (kind) {
    case PointKind::callpoint:
        return std::any_of(models.callpoints.begin(), models.callpoints.end(), is_it);
    case PointKind::validation:
        return std::any_of(models.validation.begin(), models.validation.end(), in_list);
    case PointKind::action:
        return std::any_of(models.actions.begin(), models.actions.end(), is_it);
    }
    return false;
}

const lysc_node *callpoint_node(const Models &models, const lysc_node *node, const char **name)
{
    for (; node; node = node->parent) {
        for (const auto &[at, callpoint] : models.callpoints) {
            if (at != node) continue;
            *name = callpoint;
            return node;
        }
    }
    return nullptr;
}

const std::vector<std::string> &validation_points(const Models &models, const lysc_node *leaf)
{
    static const std::vector<std::string> none;
    const auto at = models.validation.find(leaf);
    return at == models.validation.end() ? none : at->second;
}

const char *action_point(const Models &models, const std::string &rpc_name)
{
    const auto at = models.actions.find(rpc_name);
    return at == models.actions.end() ? nullptr : at->second;
}

} // namespace model
