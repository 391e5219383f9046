// Owners of data trees. A tree is named by its first top-level node; null is the empty tree.
#ifndef GW_AGENT_MODEL_HANDLES_H
#define GW_AGENT_MODEL_HANDLES_H

#include <memory>

#include <libyang/libyang.h>

namespace model {

struct FreeTree {
    void operator()(lyd_node *node) const { lyd_free_all(node); }
};

// To be edited. Its pointer stays the first top-level node: every function that edits takes the Tree itself.
using Tree = std::unique_ptr<lyd_node, FreeTree>;

// Shared by readers and never edited again.
using Snapshot = std::shared_ptr<const lyd_node>;

// A copy to edit or to validate. Which nodes are defaults or new is copied too: without it a switched choice would keep
// both cases.
Tree duplicate(const lyd_node *tree);
Snapshot freeze(Tree tree);

} // namespace model

#endif
