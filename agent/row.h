// One row of a provider: from its replies to tree nodes.
#ifndef GW_AGENT_ROW_H
#define GW_AGENT_ROW_H

#include <map>
#include <string>
#include <vector>

#include "agent/model/models.h"
#include "agent/operational.h"
#include "protocol/application.h"

namespace agent {

struct Cell {
    bool failed = false;
    std::vector<std::string> texts; // the value (of a leaf-list: its items), or why there is none
};

struct RowCells {
    std::map<const lysc_node *, Cell> cells; // leaves without a value are not in it
    Nodes marks;                             // of what belongs to no leaf
};

Cell cell_of(const lysc_node *leaf, const proto::Value &value);
// An object: leaves by their tags, in any order; containers as begin and end.
RowCells cells_of(const model::Models &models, const lysc_node *row, const std::vector<proto::TagValue> &values);
// The leaves below a node that are not keys, nested containers included, nested lists not.
std::vector<const lysc_node *> leaves_below(const model::Models &models, const lysc_node *node);

// The node's own nodes; a container without content gives nothing.
void write_node(const model::Models &models, const lysc_node *node, const RowCells &row, Nodes *out);
void write_children(const model::Models &models, const lysc_node *node, const RowCells &row, Nodes *out);

} // namespace agent

#endif
