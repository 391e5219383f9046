// One function per operation of a peer. A payload that cannot be read is answered with an error.
#ifndef GW_AGENT_HANDLERS_H
#define GW_AGENT_HANDLERS_H

#include <string_view>

#include "agent/agent.h"

namespace agent {

using Handler = void(Agent &agent, Request request, std::string_view payload);

// clients
Handler on_get, on_edit, on_load, on_discard, on_diff, on_validate, on_commit, on_confirm, on_abort, on_rollback,
    on_rollbacks, on_complete, on_action, on_watch, on_status;
// data connections
Handler on_cdb_start, on_cdb_end, on_cdb_get, on_cdb_case, on_cdb_exists, on_cdb_count, on_cdb_cd, on_cdb_namespace,
    on_cdb_set;
// applications
Handler on_register, on_notify, on_trap;

// The write session of a data connection that ends, also without saying so.
void end_data_session(Agent &agent, DataSession &data);

template <typename Record> bool take(Agent &agent, Request request, std::string_view payload, Record *record)
{
    if (proto::decode(payload, record)) return true;
    refuse(agent, request, proto::ErrorCode::malformed, "the request cannot be read");
    return false;
}

} // namespace agent

#endif
