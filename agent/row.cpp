#include "agent/row.h"

#include <cstdio>

#include <libyang/libyang.h>

#include "agent/model/values.h"
#include "agent/provider.h"

namespace agent {

namespace {

bool is_leaf(const lysc_node *node)
{
    return (node->nodetype & (LYS_LEAF | LYS_LEAFLIST)) != 0;
}

std::string hex(std::uint32_t tag)
{
    char text[16];
    snprintf(text, sizeof text, "0x%08x", tag);
    return text;
}

void write_leaf(const lysc_node *leaf, const Cell &cell, Nodes *out)
{
    for (const std::string &text : cell.texts) {
        if (cell.failed) {
            out->push_back(error_mark(leaf->name, text));
            continue;
        }
        proto::TreeNode node;
        node.kind = leaf->nodetype == LYS_LEAFLIST ? proto::NodeKind::item : proto::NodeKind::leaf;
        node.type = model::type_of(leaf);
        node.name = leaf->name;
        node.text = text;
        out->push_back(std::move(node));
    }
}

} // namespace

proto::TreeNode error_mark(const std::string &name, const std::string &text)
{
    proto::TreeNode node;
    node.kind = proto::NodeKind::error_mark;
    node.name = name;
    node.text = text;
    return node;
}

Cell cell_of(const lysc_node *leaf, const proto::Value &value)
{
    Cell cell;
    const bool is_list = leaf->nodetype == LYS_LEAFLIST && value.type == proto::ValueType::list;
    const std::vector<proto::Value> values = is_list ? value.list : std::vector<proto::Value>{value};
    for (const proto::Value &one : values) {
        std::string text;
        std::string error;
        if (!model::value_text(leaf, one, &text, &error))
            return {true, {"the provider's value does not fit: " + error}};
        cell.texts.push_back(std::move(text));
    }
    return cell;
}

RowCells cells_of(const model::Models &models, const lysc_node *row, const std::vector<proto::TagValue> &values)
{
    RowCells result;
    std::vector<const lysc_node *> open = {row};
    std::size_t skipped = 0; // open containers, the outermost of which no model knows
    for (const proto::TagValue &pair : values) {
        const bool opens = pair.value.type == proto::ValueType::xmlbegin;
        const bool ends = pair.value.type == proto::ValueType::xmlend;
        if (skipped > 0) {
            skipped += opens ? 1 : 0;
            skipped -= ends ? 1 : 0;
            continue;
        }
        if (ends && open.size() > 1) {
            open.pop_back();
            continue;
        }
        const lysc_node *node = model::child_of_tag(models, open.back(), pair.tag);
        if (node == nullptr || opens == is_leaf(node)) {
            result.marks.push_back(error_mark(row->name, "the provider sent the unknown tag " + hex(pair.tag)));
            skipped = opens ? 1 : 0;
        } else if (opens) {
            open.push_back(node);
        } else if (!lysc_is_key(node)) { // keys are known
            result.cells[node] = cell_of(node, pair.value);
        }
    }
    return result;
}

std::vector<const lysc_node *> leaves_below(const model::Models &models, const lysc_node *node)
{
    std::vector<const lysc_node *> leaves;
    if (is_leaf(node)) return {node};
    for (const lysc_node *child : model::children(models, node)) {
        if (is_leaf(child) && !lysc_is_key(child)) {
            leaves.push_back(child);
        } else if (child->nodetype == LYS_CONTAINER) {
            const std::vector<const lysc_node *> below = leaves_below(models, child);
            leaves.insert(leaves.end(), below.begin(), below.end());
        }
    }
    return leaves;
}

void write_node(const model::Models &models, const lysc_node *node, const RowCells &row, Nodes *out)
{
    if (is_leaf(node)) {
        const auto cell = row.cells.find(node);
        if (cell != row.cells.end()) write_leaf(node, cell->second, out);
        return;
    }
    if (node->nodetype != LYS_CONTAINER) return;
    proto::TreeNode edge;
    edge.kind = proto::NodeKind::container;
    edge.name = node->name;
    out->push_back(edge);
    const std::size_t opened = out->size();
    write_children(models, node, row, out);
    if (out->size() == opened) {
        out->pop_back();
        return;
    }
    out->push_back({});
    out->back().kind = proto::NodeKind::end;
}

void write_children(const model::Models &models, const lysc_node *node, const RowCells &row, Nodes *out)
{
    for (const lysc_node *child : model::children(models, node)) {
        if (!lysc_is_key(child)) write_node(models, child, row, out);
    }
}

} // namespace agent
