// Trees, differences and notifications in the form that clients get.
#ifndef GW_AGENT_MODEL_RENDER_H
#define GW_AGENT_MODEL_RENDER_H

#include <string>
#include <vector>

#include "agent/model/models.h"
#include "agent/model/paths.h"
#include "protocol/client.h"
#include "protocol/pair.h"

struct lyd_node;

namespace model {

// One node as it is written in a tree (a leaf, or what opens an entry or a container). "module:name" at the top level.
proto::TreeNode tree_node(const lyd_node *node);

// The whole tree, or the subtrees of these nodes. Empty containers are left out, except roots.
proto::Tree to_tree(const lyd_node *tree, bool with_defaults);
proto::Tree to_tree(const std::vector<const lyd_node *> &roots, bool with_defaults);

// What a target names, inside its ancestors: list entries on the way come with their keys, so none may be named by
// position. An empty tree stays empty.
proto::Tree rooted(const Target &target, proto::Tree tree);

// What operators see as changed, in datastore order: values that differ in effect, entries and presence containers that
// come or go (with their leaves). A leaf that falls back to its default is modified; one that comes with its default is
// not listed.
std::vector<proto::Change> changes(const lyd_node *before, const lyd_node *after);

// False when anything differs, be it only whether a value is set or the default.
bool identical(const lyd_node *before, const lyd_node *after);

// The name and the leaves of a notification that an application sent; containers inside it are looked through.
bool notification_text(const Models &models, const std::vector<proto::TagValue> &values, std::string *name,
                       std::vector<proto::Pair> *leaves, std::string *error);

} // namespace model

#endif
