// The loaded YANG models: names and hashes, points, and what operators are told about a node.
#ifndef GW_AGENT_MODEL_MODELS_H
#define GW_AGENT_MODEL_MODELS_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "protocol/application.h"
#include "protocol/value.h"

struct ly_ctx;
struct lys_module;
struct lysc_node;

namespace model {

struct Models; // one loaded set; every tree of the agent belongs to it and must be gone before it

struct FreeModels {
    void operator()(Models *models) const;
};
using ModelsHandle = std::unique_ptr<Models, FreeModels>;

// Loads every "*.yang" of the directory. Null with *error set: a model does not compile, two names share a hash, one
// name has two hashes, a top-level name exists twice, or a leaf has a type that cannot travel.
ModelsHandle load(const std::string &dir, std::string *error);
ly_ctx *context(const Models &models);

// A hash given on one node binds that name in all models; other names are hashed.
std::uint32_t tag_of(const Models &models, const lysc_node *node);
std::uint32_t ns_of(const Models &models, const lys_module *module);
const lys_module *module_of_ns(const Models &models, std::uint32_t ns); // null: unknown
std::vector<proto::TagName> tags(const Models &models);
std::vector<proto::TagName> namespaces(const Models &models);

// Data nodes only, choices are looked through. Null parent: the top level. Null: there is none.
const lysc_node *child_named(const Models &models, const lysc_node *parent, const std::string &name);
const lysc_node *child_of_tag(const Models &models, const lysc_node *parent, std::uint32_t tag);
const std::vector<const lysc_node *> &children(const Models &models, const lysc_node *parent);
const lysc_node *data_parent(const lysc_node *node); // choices and cases skipped, null at the top
std::vector<const lysc_node *> keys_of_list(const lysc_node *list);

enum class PointKind : std::uint8_t { callpoint, validation, action };
bool has_point(const Models &models, PointKind kind, const std::string &name);

// The callpoint that serves the node: its own or the nearest above it. Null if none.
const lysc_node *callpoint_node(const Models &models, const lysc_node *node, const char **name);
// Of a leaf or leaf-list, in the order of the statements.
const std::vector<std::string> &validation_points(const Models &models, const lysc_node *leaf);
const char *action_point(const Models &models, const std::string &rpc_name); // null: no such operation or no point

} // namespace model

#endif
