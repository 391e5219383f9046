// The nodes of two trees side by side. Inside the model layer.
#ifndef GW_AGENT_MODEL_PAIRING_H
#define GW_AGENT_MODEL_PAIRING_H

#include <vector>

#include <libyang/libyang.h>

namespace model {

// The same leaf, container or list entry in both trees, or all items of a leaf-list by their first ones; null where it
// is absent, never both.
struct Pairing {
    const lyd_node *before = nullptr;
    const lyd_node *after = nullptr;
};

inline const lyd_node *either(const Pairing &pair)
{
    return pair.after ? pair.after : pair.before;
}
inline const lyd_node *child_or_null(const lyd_node *node)
{
    return node ? lyd_child(node) : nullptr;
}

// What is gone first, then the rest; both in the order of their own tree.
std::vector<Pairing> pair_siblings(const lyd_node *before, const lyd_node *after);

// Of a leaf or leaf-list that both trees have. Whether a value is set or the default makes no difference; the order of
// items does where the user gives it.
bool same_value(const Pairing &pair);

} // namespace model

#endif
