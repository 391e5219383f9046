#include "config/cellular_info.h"

#include <arpa/inet.h>
#include <cstddef>

#include "core/base/cdb_sessions.h"
#include "core/base/handles.h"
#include "core/base/log.h"

namespace {

struct Detail {
    const char *field; // in messages
    const char *leaf;
    std::size_t offset;
    socklen_t size;
};

// In the order in which they are read.
// clang-format off
constexpr Detail details[] = {
    {"gateway", "cellular-default-gateway", offsetof(CellularInfo, gateway), sizeof(CellularInfo::gateway)},
    {"ip_addr", "cellular-ipv4-address",    offsetof(CellularInfo, ip_addr), sizeof(CellularInfo::ip_addr)},
    {"netmask", "cellular-subnet-mask",     offsetof(CellularInfo, netmask), sizeof(CellularInfo::netmask)},
    {"dns1",    "cellular-dns-ipv4",        offsetof(CellularInfo, dns1),    sizeof(CellularInfo::dns1)},
    {"dns2",    "cellular-sec-dns-ipv4",    offsetof(CellularInfo, dns2),    sizeof(CellularInfo::dns2)},
};
// clang-format on

void read_detail(const CdbSession &session, const Detail &detail, CellularInfo &info)
{
    in_addr address{};
    if (cdb_get_ipv4(session.sock, &address, "/cellular{1}/details/%s", detail.leaf) != CONFD_OK) return;
    char *text = reinterpret_cast<char *>(&info) + detail.offset;
    inet_ntop(AF_INET, &address, text, detail.size);
    log_trace(LOG_DEBUG, "tarvo_get_cellular_info", "info->%s:%s (%d)", detail.field, text,
              static_cast<std::int32_t>(address.s_addr));
}

int count_lines(FILE *stream)
{
    LineBuffer line;
    int lines = 0;
    while (getline(&line.text, &line.size, stream) >= 0) {
        ++lines;
    }
    return ferror(stream) != 0 ? 0 : lines;
}

} // namespace

int tarvo_get_cellular_info(CellularInfo &info)
{
    const CdbSession session(setup_oper_cdb_session());
    if (!session.open()) return 1;
    info = {};
    for (const Detail &detail : details) {
        read_detail(session, detail, info);
    }
    return 0;
}

int count_route_table_lines()
{
    // The routing prefix of this board does not matter here: the table is at this path on every one.
    const Pipe pipe(popen("cat /click/routing/route_table/table", "re"));
    return pipe ? count_lines(pipe.get()) : 0;
}
