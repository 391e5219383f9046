#include "config/ip_passthrough.h"

#include <arpa/inet.h>
#include <cstdio>
#include <cstring>

#include "config/cellular_info.h"
#include "config/tarvo_config.h"
#include "core/base/cdb_sessions.h"
#include "core/base/command_runner.h"
#include "core/base/globals.h"
#include "core/base/handles.h"
#include "core/base/log.h"
#include "core/base/waits.h"
#include "dhcp/dhcp_pool.h"

namespace {

constexpr const char *handler = "tarvo_config_ip_passthrough"; // as its messages name it
constexpr std::uint32_t tag_passthrough = 0x63481783;
constexpr const char *stop_handing_through = "echo 1 > /click/ip_passthru_disable/run";
constexpr int hand_through = 1;     // the session script's first argument
constexpr unsigned lan_prefix = 24; // whatever mask is configured
constexpr int routed_lines = 4; // of the route table as the data plane's configuration leaves it without passthrough

struct LanAddress {
    char address[INET_ADDRSTRLEN] = "192.168.1.1";
    char mask[INET_ADDRSTRLEN] = "255.255.255.0";
};

// The stored pair; the default when either half is missing.
LanAddress lan_address(const CdbSession &session)
{
    LanAddress lan;
    if (!session.open()) return lan;
    in_addr address{};
    in_addr mask{};
    const int address_read =
        cdb_get_ipv4(session.sock, &address, "/gw-system:interface/GigabitEthernet{0/0}/ip/address/v4/ip");
    const int mask_read =
        cdb_get_ipv4(session.sock, &mask, "/gw-system:interface/GigabitEthernet{0/0}/ip/address/v4/mask");
    if (address_read != CONFD_OK || mask_read != CONFD_OK) return lan;
    inet_ntop(AF_INET, &address, lan.address, sizeof lan.address);
    inet_ntop(AF_INET, &mask, lan.mask, sizeof lan.mask);
    return lan;
}

// Without an operational session, or while the modem says that it has no address, there is nothing to hand through. An
// address that the modem never wrote is empty text, which the script gets as it is.
void hand_cellular_address_through(const LanAddress &lan)
{
    CellularInfo info{};
    if (tarvo_get_cellular_info(info) != 0 || strcmp(info.ip_addr, "0.0.0.0") == 0) return;
    char command[256];
    const int length =
        snprintf(command, sizeof command, "%s %d %s %s %s %s %s %s %s %d", "/etc/dnsmasq/ip_session.sh", hand_through,
                 info.ip_addr, info.netmask, info.gateway, lan.address, lan.mask, info.dns1, info.dns2, info.extra);
    if (length < 0) return; // what is too long is cut, but seven dotted addresses always fit
    log_guarded(LOG_INFO, "%s: cmd: %s", handler, command);
    run_shell(command);
}

void enable_passthrough(const CdbSession &session)
{
    const LanAddress lan = lan_address(session);
    CommandRunner("echo true > /tmp/passthrough");
    hand_cellular_address_through(lan);
    if (__tarvo_configure_eth("srcr2", set_address, AF_INET, lan.address, lan_prefix) != 0) {
        log_guarded(LOG_ERR, "Failed to configure interface with params [%s] [%d] ", lan.address,
                    static_cast<int>(lan_prefix));
    }
    passthrough_enabled = 1;
    log_trace(LOG_DEBUG, handler, "ENABLE IP Passthrough ");
}

// The LAN device asks for a new address when its link comes back.
void disable_passthrough()
{
    CommandRunner(stop_handing_through);
    CommandRunner("echo false > /tmp/passthrough");
    passthrough_enabled = 0;
    run_shell("ifconfig wired0 down");
    wait_seconds(5);
    run_shell("ifconfig wired0 up");
    log_trace(LOG_DEBUG, handler, "DISABLE IP Passthrough ");
}

void take_pair(const CdbSession &session, const confd_tag_value_t &pair)
{
    log_trace(LOG_DEBUG, handler, "tagstr:%s, type:%d", confd_hash2str(pair.tag.tag), static_cast<int>(pair.v.type));
    if (pair.tag.tag != tag_passthrough || pair.v.type != C_BOOL) return;
    if (pair.v.val.boolean != 0) {
        enable_passthrough(session);
    } else {
        disable_passthrough();
    }
}

void take_change(int num_keys, std::uint16_t num_values, const confd_tag_value_t *values)
{
    const CdbSession session(setup_cdb_session());
    log_trace(LOG_DEBUG, handler, "num_keys: %d, num_values: %d", num_keys, static_cast<int>(num_values));
    for (int i = 0; i < num_values; ++i) {
        take_pair(session, values[i]);
    }
}

} // namespace

int tarvo_config_ip_passthrough(tollan_change_ctx * /*ctx*/, int /*op*/, int num_keys, confd_value_t * /*keys*/,
                                std::uint16_t num_values, confd_tag_value_t *values)
{
    take_change(num_keys, num_values, values);
    run_shell("kill -s SIGUSR1 `pidof platformd`"); // whatever changed, and with the session closed
    return 0;
}

int tarvo_oper_cellular_notification_cb(tollan_change_ctx * /*ctx*/, int /*op*/, int /*num_keys*/,
                                        confd_value_t * /*keys*/, std::uint16_t /*num_values*/,
                                        confd_tag_value_t * /*values*/)
{
    log_trace(LOG_DEBUG, "tarvo_oper_cellular_notification_cb", "Callback from CWAN passthrough: %d ",
              static_cast<int>(passthrough_enabled));
    if (passthrough_enabled != 0) return 0;
    wait_seconds(1);
    if (count_route_table_lines() != routed_lines) return 0;
    set_dnsmasq_conf(dhcp_conf_g);
    apply_dhcp_pool_dataplane(dhcp_conf_g);
    CommandRunner(stop_handing_through);
    return 0;
}
