// The types of leaves, inside the model layer.
#ifndef GW_AGENT_MODEL_TYPES_H
#define GW_AGENT_MODEL_TYPES_H

#include <vector>

#include "protocol/value.h"

struct lysc_node;
struct lysc_type;

namespace model {

const lysc_type *type_of_leaf(const lysc_node *leaf); // null: neither a leaf nor a leaf-list
// References followed and unions opened: at least one, in the order in which values are tried.
std::vector<const lysc_type *> member_types(const lysc_type *type);
proto::ValueType value_type_of(const lysc_type *type);

} // namespace model

#endif
