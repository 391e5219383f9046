// Between the models' values and the ones that travel.
#ifndef GW_AGENT_MODEL_VALUES_H
#define GW_AGENT_MODEL_VALUES_H

#include <string>
#include <vector>

#include "protocol/value.h"

struct lyd_node;
struct lysc_node;

namespace model {

// Of a leaf or of the items of a leaf-list; a leafref has its target's type, a union its first member's. noexists for
// anything else.
proto::ValueType type_of(const lysc_node *leaf);

// Of a leaf, key or leaf-list item. An enumeration is its number, text is a buf.
proto::Value to_value(const lyd_node *node);
// Of the instances of one leaf-list among `siblings`: one list in their order, of no elements when there are none.
proto::Value to_list_value(const lyd_node *siblings, const lysc_node *leaf_list);
// Of a list entry, in the order of the schema.
std::vector<proto::Value> keys_of(const lyd_node *entry);

// The canonical text of a value for a leaf. False with *error set ("expected ...") when the type is not the leaf's or
// the model does not allow the value. Bytes of text that could harm a terminal or a JSON document become \xNN.
bool value_text(const lysc_node *leaf, const proto::Value &value, std::string *text, std::string *error);

// Whether the model accepts a text for the leaf, and its canonical form. References are not followed.
bool canonical_text(const lysc_node *leaf, const std::string &text, std::string *canonical);

// What the leaf accepts, for operators: "sfp or rj45", "0..23", "an IPv4 address such as 192.168.1.1".
std::string accepted(const lysc_node *leaf);

} // namespace model

#endif
