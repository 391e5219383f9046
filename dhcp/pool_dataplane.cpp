// The commands that move the LAN side of data plane and host to a pool's subnet.
#include <cstdarg>
#include <cstdio>

#include "core/base/command_runner.h"
#include "core/base/globals.h"
#include "dhcp/dhcp_pool.h"
#include "dhcp/pool_arithmetic.h"

namespace {

struct CommandList {
    char lines[10][512]; // the longest line needs about 120
    int count = 0;
};

__attribute__((format(printf, 2, 3))) void put(CommandList &list, const char *format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): it is; the checker loses sight of it after the array.
    vsnprintf(list.lines[list.count++], sizeof list.lines[0], format, arguments);
    va_end(arguments);
}

// A standalone router has neither an uplink nor a gateway element that would need the host's address.
void render_commands(const DhcpPoolConf &pool, bool standalone, CommandList &list)
{
    const DottedText router = dotted(pool.router);
    const DottedText host = dotted(pool.host);
    const int length = pool.prefix.len;
    put(list, "echo '%s %d' > /click/intg_router_lan_conf/run", router.text, length);
    if (!standalone) {
        put(list, "echo 'VID 0, IP %s/%d, GW %s, DNS1 0.0.0.0' > /click/wired0_uplinkstate/set_static_ips", host.text,
            length, router.text);
        put(list, "echo '%s %s %s 1500 %s 0' > /click/gw_conf/run", host.text, dotted(pool.netmask).text, router.text,
            dotted(pool.broadcast).text);
    }
    put(list, "ip -4 addr flush dev srcr2");
    put(list, "ip addr add %s/%d dev srcr2", host.text, length);
    put(list, "ip route add 0.0.0.0/0 via %s dev srcr2", router.text);
    put(list, "ip -4 addr flush dev dhcpd");
    put(list, "ip addr add %s/%d dev dhcpd", host.text, length);
    put(list, "touch /tmp/dnsmasq.leases");
    put(list, "echo 1 > /var/log/dns/dnsmasq_start");
}

} // namespace

void apply_dhcp_pool_dataplane(const DhcpPoolConf &pool)
{
    CommandList list;
    render_commands(pool, _router_standalone_mode != 0, list);
    for (int i = 0; i < list.count; ++i) {
        CommandRunner(list.lines[i]);
    }
}
