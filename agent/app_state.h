// What the state directory remembers of an application; see application.h.
#ifndef GW_AGENT_APP_STATE_H
#define GW_AGENT_APP_STATE_H

#include <string>

#include "agent/application.h"
#include "agent/datastore.h"

namespace agent {

// Letters, digits, "-" and "_", at most 32: it becomes part of a file name.
bool is_app_name(const std::string &name);

// All applications that the directory knows. One whose files are damaged starts from nothing, with a log line.
Applications read_app_states(const Datastore &store);

// Makes the acknowledged and the interrupted tree of the record the ones on disk.
bool write_app_state(const Datastore &store, const Application &app, std::string *error);
void remove_app_state(const Datastore &store, const std::string &name);

// The process that was interrupted is gone for good, so what it did of its list is not known. From here on it counts as
// having acknowledged both trees together: whatever either holds and the running configuration does not is deleted.
void fold_interrupted(const Datastore &store, Application &app);

} // namespace agent

#endif
