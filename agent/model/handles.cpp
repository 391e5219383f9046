#include "agent/model/handles.h"

namespace model {

Tree duplicate(const lyd_node *tree)
{
    lyd_node *copy = nullptr;
    if (tree) lyd_dup_siblings(tree, nullptr, LYD_DUP_RECURSIVE | LYD_DUP_WITH_FLAGS, &copy);
    return Tree(copy);
}

Snapshot freeze(Tree tree)
{
    return Snapshot(tree.release(), [](const lyd_node *node) { lyd_free_all(const_cast<lyd_node *>(node)); });
}

} // namespace model
