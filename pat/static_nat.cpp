#include "pat/static_nat.h"

#include <sys/socket.h>

#include "core/base/assertion.h"
#include "core/base/cdb_sessions.h"
#include "core/base/command_runner.h"
#include "core/base/globals.h"
#include "core/base/handles.h"
#include "core/base/log.h"
#include "pat/nat_command.h"

namespace {

constexpr std::uint32_t gw_system = 0x6b64eac0; // namespace of the model
constexpr std::uint32_t gw_system_GigabitEthernet = 0x40426272;
constexpr std::uint32_t gw_system_Cellular = 0x0ccbe400;
constexpr const char *reader = "read_tcp_udp_nat_list"; // in the traces

// A session on the running database, or -1 with nothing left open.
int open_session(const sockaddr_in &agent)
{
    const int sock = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (sock < 0) log_trace(LOG_DEBUG, reader, "Failed to open socket\n");
    Descriptor connecting(sock);
    if (cdb_connect(sock, CDB_READ_SOCKET, reinterpret_cast<const sockaddr *>(&agent), sizeof agent) < 0) return -1;
    connecting.fd = -1; // cdb_close() closes it from here on
    if (cdb_start_session(sock, CDB_RUNNING) == CONFD_OK) return sock;
    cdb_close(sock);
    return -1;
}

// What cannot be read stays 0.
NatRule read_rule(int sock, int i)
{
    NatRule rule{};
    cdb_get_enum_value(sock, &rule.protocol, "ip/nat/inside/source/static/tcp-udp-list[%d]/tcp_udp", i);
    cdb_get_ipv4(sock, &rule.local_address, "ip/nat/inside/source/static/tcp-udp-list[%d]/local-addr", i);
    cdb_get_u_int16(sock, &rule.local_port, "ip/nat/inside/source/static/tcp-udp-list[%d]/local-port", i);
    cdb_get_u_int16(sock, &rule.global_port, "ip/nat/inside/source/static/tcp-udp-list[%d]/interface/global-port", i);
    return rule;
}

// The interface must be there but is only logged: the data plane forwards for all of them alike.
bool has_interface(int sock, int i)
{
    confd_value_t choice{};
    if (cdb_get_case(sock, "interface-choice", &choice, "ip/nat/inside/source/static/tcp-udp-list[%d]/interface", i) !=
        CONFD_OK) {
        log_trace(LOG_DEBUG, reader, "read_tcp_udp_nat_list choice not selected\n");
        return false;
    }
    assert_model(choice.type == C_XMLTAG, "pat", "(&choice)->type == C_XMLTAG");
    const std::uint32_t tag = choice.val.xmltag.tag;
    if (tag == gw_system_Cellular) log_trace(LOG_DEBUG, reader, "gw_system_Cellular\n");
    if (tag == gw_system_GigabitEthernet) log_trace(LOG_DEBUG, reader, "gw_system_GigabitEthernet\n");
    return true;
}

// Half a table must not be loaded: what does not fit ends the update.
bool fitted(bool fits, const NatCommand &command)
{
    if (fits) {
        log_trace(LOG_DEBUG, reader, "cmd_buf = %s\n", command.text);
    } else {
        log_trace(LOG_ERR, reader, "port forwarding rules do not fit into one command, the old ones stay in use\n");
    }
    return fits;
}

bool append_rules(NatCommand &command, int sock)
{
    const int n = cdb_num_instances(sock, "ip/nat/inside/source/static/tcp-udp-list"); // negative: no rules
    log_trace(LOG_DEBUG, reader, "read_tcp_udp_nat_list n = %d\n", n);
    for (int i = 0; i < n; ++i) {
        const NatRule rule = read_rule(sock, i);
        if (!has_interface(sock, i)) return false;
        if (!fitted(append_rule(command, rule, i == n - 1), command)) return false;
    }
    return true;
}

} // namespace

int tarvo_config_ip_static_nat(tollan_change_ctx * /*ctx*/, int /*op*/, int /*num_keys*/, confd_value_t * /*keys*/,
                               std::uint16_t /*num_values*/, confd_tag_value_t * /*values*/)
{
    log_trace(LOG_DEBUG, "tarvo_config_ip_static_nat", "tarvo_config_ip_static_nat Callback\n");
    read_tcp_udp_nat_list(agent_socket_address());
    return CONFD_OK;
}

int read_tcp_udp_nat_list(const sockaddr_in &agent)
{
    NatCommand command{};
    log_trace(LOG_DEBUG, reader, "read_tcp_udp_nat_list\n");
    const CdbSession session(open_session(agent));
    if (!session.open()) return -1;
    append_opening(command);
    cdb_set_namespace(session.sock, gw_system);
    if (!append_rules(command, session.sock)) return -1;
    if (!fitted(append_target(command, click_routing_prefix), command)) return -1;
    run_shell(command.text);
    return 0;
}
