#include "platform/confd/peers.h"

#include <sys/stat.h>

#include <cstring>
#include <mutex>
#include <unordered_map>

namespace confd {

namespace {

// By descriptor number, hence never larger than the process's limit of them, also when a caller closes the descriptor
// itself and the row stays behind.
struct Peers {
    std::mutex lock;
    std::unordered_map<int, Peer> by_descriptor;
};

// Never destroyed: threads that outlive main's return may still use it.
Peers &peers()
{
    static Peers &all = *new Peers;
    return all;
}

ino_t identity(int sock)
{
    struct stat status;
    return fstat(sock, &status) == 0 ? status.st_ino : 0;
}

} // namespace

void remember_peer(int sock, const sockaddr *address, socklen_t size)
{
    Peer peer = {};
    if (size > sizeof peer.address) return;
    std::memcpy(&peer.address, address, size);
    peer.size = size;
    peer.socket = identity(sock);
    const std::lock_guard<std::mutex> guard(peers().lock);
    peers().by_descriptor[sock] = peer;
}

void forget_peer(int sock)
{
    const std::lock_guard<std::mutex> guard(peers().lock);
    peers().by_descriptor.erase(sock);
}

bool find_peer(int sock, Peer *peer)
{
    const ino_t socket = identity(sock);
    const std::lock_guard<std::mutex> guard(peers().lock);
    const auto found = peers().by_descriptor.find(sock);
    if (found == peers().by_descriptor.end() || found->second.socket != socket) return false;
    *peer = found->second;
    return true;
}

} // namespace confd
