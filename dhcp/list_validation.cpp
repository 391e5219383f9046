#include <arpa/inet.h>

#include "core/base/assertion.h"
#include "core/base/log.h"
#include "dhcp/dhcp_lists.h"
#include "dhcp/pool_arithmetic.h"

namespace {

constexpr const char *module_name = "dhcp_config";

// In host byte order, low to high.
struct HostRange {
    std::uint32_t low;
    std::uint32_t high;
};

HostRange in_host_order(const AddrRange &range)
{
    return {ntohl(range.low.s_addr), ntohl(range.high.s_addr)};
}

bool lies_in(const HostRange &inner, const HostRange &outer)
{
    return inner.low >= outer.low && inner.high <= outer.high;
}

bool overlaps(const HostRange &a, const HostRange &b)
{
    return a.low <= b.high && b.low <= a.high;
}

int refuse(confd_trans_ctx *tctx, const char *why)
{
    confd_trans_seterr(tctx, "%s", why);
    return CONFD_ERR;
}

// The entry that is being changed is one of the stored ones. When they cannot be read there are none.
bool overlaps_stored(const HostRange &range)
{
    std::unique_ptr<AddrRange[]> stored;
    const int count = get_excl_addr_ranges(stored);
    for (int i = 0; i < count; ++i) {
        if (overlaps(range, in_host_order(stored[static_cast<std::size_t>(i)]))) return true;
    }
    return false;
}

} // namespace

int tarvo_validate_dhcp_mac_binding(confd_trans_ctx *tctx, confd_hkeypath_t * /*kp*/, confd_value_t *newval)
{
    AddrRange pool{};
    if (get_dhcp_addr_range(pool) != 0) return refuse(tctx, "Error retrieving DHCP subnet range");
    assert_model(newval->type == C_IPV4, module_name, "(new_val_p)->type == C_IPV4");
    if (lies_in(in_host_order({newval->val.ip, newval->val.ip}), in_host_order(pool))) return CONFD_OK;
    refuse(tctx, "MAC binding address needs to fall in dhcp range");
    log_trace(LOG_DEBUG, "tarvo_validate_dhcp_mac_binding", "type:%d", static_cast<int>(newval->type));
    return CONFD_ERR;
}

int tarvo_validate_dhcp_excluded_range(confd_trans_ctx *tctx, confd_hkeypath_t *kp, confd_value_t *newval)
{
    assert_model(kp->v[1][0].type == C_IPV4, module_name, "(&key_path_p->v[1][0])->type == C_IPV4");
    assert_model(newval->type == C_IPV4, module_name, "(new_val_p)->type == C_IPV4");
    const AddrRange given{kp->v[1][0].val.ip, newval->val.ip};
    const HostRange range = in_host_order(given);
    log_trace(LOG_DEBUG, "tarvo_validate_dhcp_excluded_range", "validating range: %s - %s", dotted(given.low).text,
              dotted(given.high).text);
    if (range.low > range.high) return refuse(tctx, "High address needs to be greater low address");
    AddrRange pool{};
    if (get_dhcp_addr_range(pool) != 0) {
        return refuse(tctx, "tarvo_validate_dhcp_excluded_range: Error retrieving DHCP subnet range");
    }
    if (!lies_in(range, in_host_order(pool))) {
        return refuse(tctx, "Excluded address range needs to fall in dhcp range");
    }
    return overlaps_stored(range) ? refuse(tctx, "Invalid range") : CONFD_OK;
}
