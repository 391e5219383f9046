#include "dhcp/dhcp_pool.h"

#include <arpa/inet.h>

#include "core/base/assertion.h"
#include "core/base/cdb_sessions.h"
#include "core/base/handles.h"
#include "core/base/log.h"
#include "dhcp/dhcp_lists.h"
#include "dhcp/pool_arithmetic.h"
#include "monitor/traps.h"
#include "pat/pat_table.h"

namespace {

constexpr const char *module_name = "dhcp_config";

enum : std::uint32_t {
    TAG_PREFIX = 0x7a82c47a,
    TAG_LEASE_DAYS = 0x2b27021e,
    TAG_LEASE_HOURS = 0x60dd82a5,
    TAG_LEASE_MINUTES = 0x48daf5d4
};

constexpr std::uint32_t default_network = 0x0a001700; // 10.0.23.0
constexpr std::uint8_t default_prefix_length = 24;

void take_prefix(DhcpPoolConf &pool, const confd_ipv4_prefix &prefix)
{
    pool.prefix = prefix;
    pool.netmask = netmask_of(prefix.len);
}

void take_pair(DhcpPoolConf &pool, const confd_tag_value_t &pair)
{
    const confd_value_t &value = pair.v;
    switch (pair.tag.tag) {
    case TAG_PREFIX:
        if (value.type == C_IPV4PREFIX) take_prefix(pool, value.val.ipv4prefix);
        break;
    case TAG_LEASE_DAYS:
        assert_model(value.type == C_UINT16, module_name, "(&cur_val_p->v)->type == C_UINT16");
        pool.lease_days = value.val.u16;
        break;
    case TAG_LEASE_HOURS:
        assert_model(value.type == C_UINT8, module_name, "(&cur_val_p->v)->type == C_UINT8");
        pool.lease_hours = value.val.u8;
        break;
    case TAG_LEASE_MINUTES:
        assert_model(value.type == C_UINT8, module_name, "(&cur_val_p->v)->type == C_UINT8");
        pool.lease_minutes = value.val.u8;
        break;
    default:
        break;
    }
}

void log_pool(const DhcpPoolConf &pool, TracePoint point)
{
    log_trace(LOG_DEBUG, point, "ip: %08X, len: %d, mask: %08X", ntohl(pool.prefix.ip.s_addr), pool.prefix.len,
              ntohl(pool.netmask.s_addr));
    log_trace(LOG_DEBUG, point, "low_addr: %08X, high_addr: %08X", ntohl(pool.range.low.s_addr),
              ntohl(pool.range.high.s_addr));
    log_trace(LOG_DEBUG, point, "router_addr: %08X, host_addr: %08X", ntohl(pool.router.s_addr),
              ntohl(pool.host.s_addr));
    log_trace(LOG_DEBUG, point, "subnet_bcast_addr: %08X", ntohl(pool.broadcast.s_addr));
}

void apply(DhcpPoolConf &pool, TracePoint point)
{
    derive_pool_addresses(pool);
    log_pool(pool, point);
    set_dnsmasq_conf(pool);
    apply_dhcp_pool_dataplane(pool);
}

} // namespace

DhcpPoolConf dhcp_conf_g;

int tarvo_config_dhcp_pool(tollan_change_ctx * /*ctx*/, int /*op*/, int /*num_keys*/, confd_value_t * /*keys*/,
                           std::uint16_t num_values, confd_tag_value_t *values)
{
    for (int i = 0; i < num_values; ++i) {
        log_pair("tarvo_config_dhcp_pool", values[i]);
        take_pair(dhcp_conf_g, values[i]);
    }
    apply(dhcp_conf_g, "tarvo_config_dhcp_pool");
    notify_dhcp_config_change();
    return CONFD_OK;
}

void initialize_dft_dhcp_config()
{
    take_prefix(dhcp_conf_g, {{htonl(default_network)}, default_prefix_length});
    dhcp_conf_g.lease_days = 1;
    dhcp_conf_g.lease_hours = 0;
    dhcp_conf_g.lease_minutes = 0;
    apply(dhcp_conf_g, "initialize_dft_dhcp_config");
}

int get_dhcp_addr_range(AddrRange &range)
{
    const CdbSession session(setup_cdb_session());
    if (!session.open()) return -1;
    log_trace(LOG_DEBUG, "get_dhcp_addr_range", "opened data socket");
    confd_ipv4_prefix prefix{};
    if (cdb_get_ipv4prefix(session.sock, &prefix, "/gw-system:ip/dhcp/pool/network/dhcp-subnet-prefix") != CONFD_OK) {
        return -1;
    }
    log_trace(LOG_DEBUG, "get_dhcp_addr_range",
              "Read ip prefix from /gw-system:ip/dhcp/pool/network/dhcp-subnet-prefix ok");
    range = calc_dhcp_addr_range(&prefix);
    return 0;
}

int tarvo_validate_dhcp_subnet_prefix(confd_trans_ctx *tctx, confd_hkeypath_t * /*kp*/, confd_value_t *newval)
{
    log_trace(LOG_DEBUG, "tarvo_validate_dhcp_subnet_prefix", "type:%d", static_cast<int>(newval->type));
    if (newval->type != C_IPV4PREFIX) return CONFD_ERR;
    if (!is_valid_dhcp_prefix_len(newval->val.ipv4prefix.len)) {
        confd_trans_seterr(tctx, "Invalid prefix length, needs to be between 24 and 30");
        return CONFD_ERR;
    }
    if (get_pat_info() < 1) return CONFD_OK;
    confd_trans_seterr(tctx, "There are existing PAT rules and the rules need to be modified");
    return CONFD_VALIDATION_WARN;
}
