// What the library found wrong, in an operator's words. Inside the model layer.
#ifndef GW_AGENT_MODEL_RULES_H
#define GW_AGENT_MODEL_RULES_H

#include <string>

#include "agent/model/models.h"
#include "protocol/hello.h"

struct lyd_node;

namespace model {

// The node of an absolute schema path of the library, by its names: choices and cases may or may not stand in it. Names
// that are not known are skipped.
const lysc_node *schema_at(const Models &models, const std::string &library_path);

// The library's last error, which is taken from it. `tree` is what was checked: errors that only name a schema node get
// the path of the first entry they are true for.
proto::Error last_error(const Models &models, const lyd_node *tree);

} // namespace model

#endif
