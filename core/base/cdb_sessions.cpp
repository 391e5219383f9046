#include "core/base/cdb_sessions.h"

#include <arpa/inet.h>
#include <cerrno>
#include <sys/socket.h>
#include <unistd.h>

#include "confd.h"
#include "core/base/log.h"

namespace {

// The socket connected to the agent, or -1 with nothing left open.
int connect_to_agent(TracePoint point)
{
    const sockaddr_in address = agent_socket_address();
    const int sock = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (sock < 0) {
        log_trace(LOG_ERR, point, "Cannot allocate socket (errno: %d)", errno);
        return -1;
    }
    const int result = cdb_connect(sock, CDB_DATA_SOCKET, reinterpret_cast<const sockaddr *>(&address), sizeof address);
    if (result == CONFD_OK) return sock;
    log_trace(LOG_ERR, point, "Cannot connect to CDB (%d)%s (%d) : %s", result, confd_strerror(confd_errno),
              confd_errno, confd_lasterr());
    close(sock);
    return -1;
}

// `result` is that of starting the session on `sock`.
int started_session(TracePoint point, int sock, int result)
{
    if (result == CONFD_OK) return sock;
    log_trace(LOG_ERR, point, "Failed to start cdb session %s (%d) : %s", confd_strerror(confd_errno), confd_errno,
              confd_lasterr());
    cdb_close(sock);
    log_trace(LOG_ERR, point, "confd status %d\n", result);
    return -1;
}

} // namespace

sockaddr_in agent_socket_address()
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = inet_addr(agent_address);
    address.sin_port = htons(agent_port);
    return address;
}

int setup_cdb_session()
{
    const int sock = connect_to_agent("setup_cdb_session");
    if (sock < 0) return -1;
    const int result = cdb_start_session2(sock, CDB_RUNNING, CDB_LOCK_WAIT | CDB_LOCK_REQUEST);
    return started_session("setup_cdb_session", sock, result);
}

int setup_oper_cdb_session()
{
    const int sock = connect_to_agent("setup_oper_cdb_session");
    if (sock < 0) return -1;
    return started_session("setup_oper_cdb_session", sock, cdb_start_session(sock, CDB_OPERATIONAL));
}
