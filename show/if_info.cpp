#include "show/if_info.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include "core/base/handles.h"
#include "maker.h"
#include "show/if_map.h"

namespace {

// The link library's record, whichever library is linked.
static_assert(offsetof(LinkInfo, if_name) == 0 && offsetof(LinkInfo, addr) == 16 &&
              offsetof(LinkInfo, addr_family) == 84 && offsetof(LinkInfo, admin_status) == 1113 &&
              offsetof(LinkInfo, oper_status) == 1114 && offsetof(LinkInfo, link_oper) == 1116 &&
              sizeof(LinkInfo) <= LINK_INFO_STORAGE);

constexpr std::size_t path_size = 128;
constexpr std::size_t command_size = 128;
constexpr std::size_t line_size = 128;

struct SysfsNumber {
    bool opened;
    long value; // 0 when the file holds no line
};

SysfsNumber read_sysfs_number(const char *name, const char *attribute)
{
    char path[path_size];
    char line[line_size];
    snprintf(path, sizeof path, "/sys/class/net/%s/%s", name, attribute);
    const File file(fopen(path, "re"));
    if (!file) return {false, 0};
    return {true, fgets(line, sizeof line, file.get()) != nullptr ? parse_sysfs_number(line) : 0};
}

// The name is cut to what the request holds.
ifreq request_for(const char *name)
{
    ifreq request{};
    strncpy(request.ifr_name, name, sizeof request.ifr_name - 1);
    return request;
}

Descriptor open_request_socket()
{
    return Descriptor(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0));
}

bool can_be_asked(const char *name)
{
    return name != nullptr && is_valid_ifname(name);
}

void copy_first_line(const char *command, char *output, std::size_t size)
{
    char line[line_size];
    const Pipe pipe(popen(command, "re"));
    if (pipe && fgets(line, sizeof line, pipe.get()) != nullptr) snprintf(output, size, "%s", line);
}

} // namespace

long parse_sysfs_number(const char *line)
{
    return strtol(line, nullptr, 0);
}

int is_if_admin_up(const char *name)
{
    if (name == nullptr) return 0;
    const SysfsNumber flags = read_sysfs_number(name, "flags");
    return flags.opened ? static_cast<int>(flags.value & IFF_UP) : 1;
}

int is_if_running(const char *name)
{
    const Descriptor socket = open_request_socket();
    if (socket.fd < 0) return 0;
    ifreq request = request_for(name);
    if (ioctl(socket.fd, SIOCGIFFLAGS, &request) < 0) return 0;
    return (request.ifr_flags & IFF_RUNNING) != 0 ? 1 : 0;
}

int get_if_mtu(const char *name)
{
    if (name == nullptr) return 0;
    const SysfsNumber mtu = read_sysfs_number(name, "mtu");
    return mtu.opened ? static_cast<int>(mtu.value) : -1;
}

int get_if_hwaddr(const char *name, std::uint8_t (&address)[6])
{
    if (name == nullptr) return 0;
    const Descriptor socket = open_request_socket();
    if (socket.fd < 0) return 0;
    ifreq request = request_for(name);
    if (ioctl(socket.fd, SIOCGIFFLAGS, &request) < 0) return 0;
    if (ioctl(socket.fd, SIOCGIFHWADDR, &request) < 0) return 0;
    memcpy(address, request.ifr_hwaddr.sa_data, sizeof address);
    return 1;
}

void read_ifconfig_ipaddr(const char *name, char *output, std::size_t size)
{
    if (!can_be_asked(name)) return;
    char command[command_size];
    snprintf(command, sizeof command, "/sbin/ifconfig %s | grep 'inet addr' | cut -d: -f2 | awk '{print $1}'", name);
    copy_first_line(command, output, size);
}

void read_ifconfig_mask(const char *name, char *output, std::size_t size)
{
    if (!can_be_asked(name)) return;
    char command[command_size];
    snprintf(command, sizeof command, "/sbin/ifconfig %s | grep 'inet addr' | cut -d: -f4", name);
    copy_first_line(command, output, size);
}
