// Short-lived sessions on the management agent's databases at 127.0.0.1 port 4565.
//
// Both return a connected descriptor with a session started on it, or -1 after logging why. The caller reads, ends the
// session with cdb_end_session() and releases descriptor and connection with cdb_close() (CdbSession does both).
#ifndef GW_CORE_BASE_CDB_SESSIONS_H
#define GW_CORE_BASE_CDB_SESSIONS_H

#include <cstdint>
#include <netinet/in.h>

inline constexpr const char *agent_address = "127.0.0.1";
inline constexpr std::uint16_t agent_port = 4565;

sockaddr_in agent_socket_address();

int setup_cdb_session();      // the running database
int setup_oper_cdb_session(); // the operational database

#endif
