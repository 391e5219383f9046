// Where a data socket was connected to. The kernel forgets it when the peer resets the connection.
#ifndef GW_PLATFORM_CONFD_PEERS_H
#define GW_PLATFORM_CONFD_PEERS_H

#include <sys/socket.h>
#include <sys/types.h>

namespace confd {

struct Peer {
    sockaddr_storage address;
    socklen_t size;
    ino_t socket; // of the socket, as descriptor numbers are used again
};

void remember_peer(int sock, const sockaddr *address, socklen_t size);
void forget_peer(int sock);
// False when this socket was never remembered.
bool find_peer(int sock, Peer *peer);

} // namespace confd

#endif
