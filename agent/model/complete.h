// What may stand next on an operator's line.
#ifndef GW_AGENT_MODEL_COMPLETE_H
#define GW_AGENT_MODEL_COMPLETE_H

#include <string>

#include "agent/model/models.h"
#include "protocol/client.h"

struct lyd_node;
struct lysc_node;

namespace model {

// Names of nodes in schema order, keys and references from `data` (null: none), values by type. Words that lead nowhere
// give nothing. A word that the user has to invent is one candidate without a word.
proto::Candidates complete(const Models &models, const lyd_node *data, const proto::Complete &request);

// One line: description, units, what is accepted, default.
std::string help_of(const lysc_node *node);

} // namespace model

#endif
