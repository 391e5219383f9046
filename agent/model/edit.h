// Changes to a candidate tree.
#ifndef GW_AGENT_MODEL_EDIT_H
#define GW_AGENT_MODEL_EDIT_H

#include <string>

#include "agent/model/handles.h"
#include "agent/model/models.h"
#include "agent/model/paths.h"
#include "protocol/client.h"
#include "protocol/hello.h"

namespace model {

// An operator's edits of configuration. On false the tree is as it was and *error says what would be accepted. Defaults
// are present again afterwards; setting a node of another case removes the one that was chosen.
bool set(const Models &models, Tree *tree, const proto::Words &words, proto::Error *error);
bool remove(const Models &models, Tree *tree, const proto::Words &words, proto::Error *error);

// RFC 7951. Replaces everything, or is merged into the tree. Anything but one whole document is refused.
bool load_json(const Models &models, Tree *tree, const std::string &text, bool replace, proto::Error *error);

// Checks configuration against all rules of the models and adds defaults. Edits the tree even when it fails: pass a
// duplicate.
bool validate(const Models &models, Tree *tree, proto::Error *error);

// Stores one value of any kind, operational too; list entries on the way are created. For a list or a container `text`
// is ignored.
bool store(const Models &models, Tree *tree, const Target &target, const std::string &text, std::string *error);

} // namespace model

#endif
