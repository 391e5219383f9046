#include "platform/confd/session.h"

#include <fcntl.h>
#include <unistd.h>

#include "platform/confd/errors.h"
#include "platform/confd/peers.h"
#include "protocol/data.h"

namespace confd {

namespace {

// The caller keeps its number: a thread that holds the socket for its life need not know that the agent restarted.
bool connect_again(int sock, Deadline deadline)
{
    Peer peer;
    if (!find_peer(sock, &peer)) return false;
    const int fresh = socket(peer.address.ss_family, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fresh < 0) return false;
    const auto *address = reinterpret_cast<const sockaddr *>(&peer.address);
    const bool good =
        connect_as(fresh, proto::Role::data, address, peer.size, deadline) && dup3(fresh, sock, O_CLOEXEC) == sock;
    close(fresh);
    if (good) remember_peer(sock, address, peer.size);
    return good;
}

} // namespace

int connect_data(int sock, const sockaddr *address, socklen_t size, Deadline deadline)
{
    const int flags = fcntl(sock, F_GETFD);
    if (flags < 0 || fcntl(sock, F_SETFD, flags | FD_CLOEXEC) != 0) return fail_errno("socket");
    if (!connect_as(sock, proto::Role::data, address, size, deadline)) return CONFD_ERR;
    remember_peer(sock, address, size);
    return CONFD_OK;
}

int start_session(int sock, cdb_db_type db, std::uint32_t flags, Deadline deadline)
{
    proto::CdbStart start;
    start.database = static_cast<proto::Database>(db);
    start.flags = flags;
    const std::string payload = encode(start);
    std::string answer;
    Outcome outcome = exchange(sock, proto::Op::cdb_start, payload, deadline, &answer);
    if (outcome == Outcome::lost && connect_again(sock, deadline)) {
        outcome = exchange(sock, proto::Op::cdb_start, payload, deadline, &answer);
    }
    return outcome == Outcome::answered ? CONFD_OK : CONFD_ERR;
}

int request(int sock, proto::Op op, std::string_view payload, Deadline deadline, std::string *answer)
{
    return exchange(sock, op, payload, deadline, answer) == Outcome::answered ? CONFD_OK : CONFD_ERR;
}

int get_value(int sock, const std::string &path, Deadline deadline, proto::Value *value)
{
    std::string answer;
    proto::CdbPath question;
    question.path = path;
    if (request(sock, proto::Op::cdb_get, encode(question), deadline, &answer) != CONFD_OK) return CONFD_ERR;
    proto::CdbValue reply;
    if (!decode(answer, &reply)) return fail(CONFD_ERR_PROTOCOL, "the value of %s cannot be read", path.c_str());
    *value = std::move(reply.value);
    return CONFD_OK;
}

} // namespace confd
