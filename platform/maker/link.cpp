#include <arpa/inet.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstring>

#include "maker.h"

static_assert(offsetof(LinkInfo, addr) == 16 && offsetof(LinkInfo, addr_family) == 84);
static_assert(offsetof(LinkInfo, admin_status) == 1113 && offsetof(LinkInfo, oper_status) == 1114);
static_assert(offsetof(LinkInfo, link_oper) == 1116 && sizeof(LinkInfo) <= LINK_INFO_STORAGE);

namespace {

enum { link_found = 0, link_error = 1, link_missing = 2 };

struct LinkQuestion {
    nlmsghdr header;
    ifinfomsg info;
    rtattr name_header;
    char name[IFNAMSIZ];
};

// For names that ask_link took: longer ones do not exist.
void copy_name(char (&out)[IFNAMSIZ], const char *device)
{
    std::snprintf(out, sizeof out, "%s", device);
}

LinkQuestion make_question(const char *device)
{
    LinkQuestion q = {};
    q.header.nlmsg_len = sizeof q;
    q.header.nlmsg_type = RTM_GETLINK;
    q.header.nlmsg_flags = NLM_F_REQUEST;
    q.info.ifi_family = AF_UNSPEC;
    q.name_header.rta_type = IFLA_IFNAME;
    q.name_header.rta_len = static_cast<unsigned short>(RTA_LENGTH(sizeof q.name));
    copy_name(q.name, device);
    return q;
}

int read_answer(const char *bytes, std::size_t size, unsigned *flags)
{
    nlmsghdr header;
    if (size < NLMSG_LENGTH(sizeof(ifinfomsg))) return link_error;
    std::memcpy(&header, bytes, sizeof header);
    if (header.nlmsg_type == NLMSG_ERROR) {
        nlmsgerr error;
        std::memcpy(&error, bytes + NLMSG_HDRLEN, sizeof error);
        return error.error == -ENODEV ? link_missing : link_error;
    }
    if (header.nlmsg_type != RTM_NEWLINK) return link_error;
    ifinfomsg info;
    std::memcpy(&info, bytes + NLMSG_HDRLEN, sizeof info);
    *flags = info.ifi_flags;
    return link_found;
}

// By netlink: an ioctl about a device that is not there makes the kernel run modprobe, at every poll of a modem that is
// switched off.
int ask_link(const char *device, unsigned *flags)
{
    if (device[0] == '\0' || std::strlen(device) >= IFNAMSIZ) return link_missing;
    const int sock = socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE);
    if (sock < 0) return link_error;
    const LinkQuestion question = make_question(device);
    char answer[8192];
    ssize_t n = send(sock, &question, sizeof question, 0);
    while (n >= 0 || errno == EINTR) {
        n = recv(sock, answer, sizeof answer, 0);
        if (n >= 0) break;
    }
    close(sock);
    return n < 0 ? link_error : read_answer(answer, static_cast<std::size_t>(n), flags);
}

// False when the device has no IPv4 address.
bool read_address(const char *device, char *text, socklen_t size)
{
    const int sock = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (sock < 0) return false;
    ifreq request = {};
    copy_name(request.ifr_name, device);
    const bool known = ioctl(sock, SIOCGIFADDR, &request) == 0;
    close(sock);
    sockaddr_in address;
    std::memcpy(&address, &request.ifr_addr, sizeof address);
    return known && inet_ntop(AF_INET, &address.sin_addr, text, size);
}

} // namespace

int zel_link_check(const char *device)
{
    unsigned flags = 0;
    return ask_link(device, &flags);
}

int zel_link_get(const char *device, struct LinkInfo *info)
{
    unsigned flags = 0;
    const int result = ask_link(device, &flags);
    if (result != link_found) return result;
    std::memset(info, 0, sizeof *info);
    copy_name(info->if_name, device);
    std::snprintf(info->addr, sizeof info->addr, "0.0.0.0");
    if (read_address(device, info->addr, sizeof info->addr)) info->addr_family = AF_INET;
    info->admin_status = (flags & IFF_UP) != 0;
    info->oper_status = (flags & IFF_RUNNING) != 0;
    info->link_oper = flags;
    return link_found;
}
