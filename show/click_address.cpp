#include "show/click_address.h"

#include <cstdio>
#include <cstring>

#include "core/base/globals.h"
#include "core/base/handles.h"
#include "core/base/log.h"
#include "show/if_info.h"
#include "show/if_map.h"

namespace {

constexpr int ipv4_size = 16;
constexpr int ipv6_size = 46;
constexpr std::uint8_t wan_prefix_length = 64;
constexpr const char *lan_device = "srcr2"; // the host's side of the router's LAN holds the LAN address
constexpr std::size_t line_size = 128;

struct ClickFiles {
    File ipaddr;
    File mask;
    File active;
    File ip6addr;
};

File open_element(const char *element)
{
    char path[128];
    snprintf(path, sizeof path, "%s%s", click_routing_prefix, element);
    return File(fopen(path, "re"));
}

ClickFiles open_wan_files()
{
    return {open_element("wan0_arpq/ipaddr"), open_element("wan0_arpq/mask"),
            File(fopen("/click/srcr2_ll_nadv_bypass/active", "re")), open_element("nds_wan/ip6addr")};
}

bool read_line(const File &file, char (&line)[line_size])
{
    return fgets(line, sizeof line, file.get()) != nullptr;
}

// The first word of the line, cut to size - 1 characters; the output stays as it is when the line is blank.
void scan_word(const char *line, char *output, int size)
{
    char format[16];
    snprintf(format, sizeof format, "%%%ds\n", size - 1);
    sscanf(line, format, output);
}

int read_wan_ipv4(const ClickFiles &files, char *ip, char *mask)
{
    char line[line_size];
    int status = -1;
    if (read_line(files.ipaddr, line)) {
        log_guarded(LOG_DEBUG, "ipaddr: %s, strlen: %d", line, static_cast<int>(strlen(line)));
        status = 0;
        scan_word(line, ip, ipv4_size);
    }
    if (!read_line(files.mask, line)) return -1;
    log_guarded(LOG_DEBUG, "subnet_mask: %s, strlen: %d", line, static_cast<int>(strlen(line)));
    scan_word(line, mask, ipv4_size);
    return status;
}

// False when there is none or it is not in use.
bool read_wan_ipv6(const ClickFiles &files, char *ip6, std::uint8_t *plen)
{
    char line[line_size];
    if (!read_line(files.active, line) || line[0] != 't') return false;
    if (!read_line(files.ip6addr, line)) return false;
    log_trace(LOG_ERR, "tarvo_read_ip_from_click", "ip6addr: %s, strlen: %d", line, static_cast<int>(strlen(line)));
    if (ip6 != nullptr) scan_word(line, ip6, ipv6_size);
    if (plen != nullptr) *plen = wan_prefix_length;
    return true;
}

int read_wan_addresses(char *ip, char *mask, char *ip6, std::uint8_t *plen)
{
    if (plen != nullptr) *plen = 0;
    if (ip6 != nullptr) ip6[0] = '\0';
    const ClickFiles files = open_wan_files();
    if (!files.ipaddr || !files.mask || !files.active || !files.ip6addr) return -1;
    const int ipv4_status = read_wan_ipv4(files, ip, mask);
    return read_wan_ipv6(files, ip6, plen) ? ipv4_status : -1;
}

} // namespace

int tarvo_read_ip_from_click(const char *device, char *ip, char *mask, char *ip6, std::uint8_t *plen)
{
    if (device == nullptr) return 0;
    if (strncmp(device, "wired0", 6) == 0 || strncmp(device, "wired1", 6) == 0) {
        read_ifconfig_ipaddr(lan_device, ip, ipv4_size);
        read_ifconfig_mask(lan_device, mask, ipv4_size);
        return 0;
    }
    if (strncmp(device, "cell_1_1", 8) == 0) {
        snprintf(ip, ipv4_size, "0.0.0.0");
        snprintf(mask, ipv4_size, "0.0.0.0");
        return 0;
    }
    return is_cell_1_0(device) ? read_wan_addresses(ip, mask, ip6, plen) : -1;
}
