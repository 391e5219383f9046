// Data connections and the sessions on them, under a deadline that the caller sets.
#ifndef GW_PLATFORM_CONFD_SESSION_H
#define GW_PLATFORM_CONFD_SESSION_H

#include <string>

#include "confd.h"
#include "platform/confd/stream.h"
#include "protocol/value.h"

namespace confd {

// All return CONFD_OK, or CONFD_ERR with confd_errno set.
int connect_data(int sock, const sockaddr *address, socklen_t size, Deadline deadline);
// Connects again in place, once, when the peer has gone.
int start_session(int sock, cdb_db_type db, std::uint32_t flags, Deadline deadline);
int request(int sock, proto::Op op, std::string_view payload, Deadline deadline, std::string *answer);
int get_value(int sock, const std::string &path, Deadline deadline, proto::Value *value);

} // namespace confd

#endif
