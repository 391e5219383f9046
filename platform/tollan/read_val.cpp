#include "platform/tollan/read_val.h"

#include <netinet/in.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <mutex>

#include "platform/confd/convert.h"
#include "platform/confd/errors.h"
#include "platform/confd/session.h"
#include "tollan.h"

namespace {

constexpr int call_seconds = 10;

std::mutex socket_lock;
int kept_socket = -1;

int connect_socket(confd::Deadline deadline)
{
    const int sock = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (sock < 0) return confd::fail_errno("socket");
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(proto::default_port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (confd::connect_data(sock, reinterpret_cast<const sockaddr *>(&address), sizeof address, deadline) == CONFD_OK) {
        return sock;
    }
    close(sock);
    return -1;
}

// A session per value, so that each call sees what is committed now.
int read_in_session(int sock, const char *path, confd::Deadline deadline, proto::Value *value)
{
    if (confd::start_session(sock, CDB_RUNNING, 0, deadline) != CONFD_OK) return CONFD_ERR;
    const int result = confd::get_value(sock, path, deadline, value);
    std::string nothing;
    if (result == CONFD_OK || confd_errno != CONFD_ERR_OS) {
        const int ended = confd::request(sock, proto::Op::cdb_end, {}, deadline, &nothing);
        return result == CONFD_OK ? ended : result;
    }
    return result;
}

int read_on(int *sock, const char *path, confd::Deadline deadline, proto::Value *value)
{
    if (*sock < 0) *sock = connect_socket(deadline);
    return *sock < 0 ? CONFD_ERR : read_in_session(*sock, path, deadline, value);
}

void drop(int *sock)
{
    if (*sock >= 0) cdb_close(*sock);
    *sock = -1;
}

// One caller has the kept connection. Another one meanwhile opens its own: the time to wait is this call's alone.
int read_value(const char *path, proto::Value *value)
{
    const confd::Deadline deadline = confd::in_seconds(call_seconds);
    const std::unique_lock<std::mutex> guard(socket_lock, std::try_to_lock);
    if (guard) return read_on(&kept_socket, path, deadline, value);
    int own_socket = -1;
    const int result = read_on(&own_socket, path, deadline, value);
    drop(&own_socket);
    return result;
}

unsigned char *copy_bytes(const void *bytes, std::size_t size)
{
    auto *copy = new unsigned char[size];
    std::memcpy(copy, bytes, size);
    return copy;
}

// Moves what a value points to out of the arena into memory of its own.
void detach(confd_value_t *value)
{
    switch (value->type) {
    case C_BUF:
    case C_BINARY:
        value->val.buf.ptr = copy_bytes(value->val.buf.ptr, value->val.buf.size + 1UL);
        break;
    case C_LIST: {
        auto *items = new confd_value_t[value->val.list.size];
        std::copy_n(value->val.list.ptr, value->val.list.size, items);
        std::for_each_n(items, value->val.list.size, [](confd_value_t &item) { detach(&item); });
        value->val.list.ptr = items;
        break;
    }
    default:
        break;
    }
}

} // namespace

namespace tollan {

void close_read_socket()
{
    const std::lock_guard<std::mutex> guard(socket_lock);
    drop(&kept_socket);
}

} // namespace tollan

int tollan_read_val(struct tollan_ctx *, const char *path, confd_value_t *value)
{
    proto::Value read;
    if (read_value(path, &read) != CONFD_OK) return CONFD_ERR;
    confd::Arena arena;
    *value = confd::to_c(read, &arena);
    detach(value);
    return CONFD_OK;
}

void tollan_release_val(confd_value_t *value)
{
    switch (value->type) {
    case C_BUF:
    case C_BINARY:
        delete[] value->val.buf.ptr;
        break;
    case C_LIST:
        std::for_each_n(value->val.list.ptr, value->val.list.size,
                        [](confd_value_t &item) { tollan_release_val(&item); });
        delete[] value->val.list.ptr;
        break;
    default:
        break;
    }
    std::memset(value, 0, sizeof *value);
}
