#include "dhcp/dhcp_leases.h"

#include <cstdio>
#include <cstdlib>
#include <memory>

#include "core/base/assertion.h"
#include "core/base/handles.h"
#include "core/base/log.h"
#include "core/base/module_handle.h"
#include "core/base/tag_values.h"
#include "dhcp/dhcp_lists.h"
#include "dhcp/dhcp_pool.h"

namespace {

constexpr const char *module_name = "dhcp_config";
constexpr const char *leases_path = "/tmp/dnsmasq.leases";
constexpr const char *prefix_path = "/gw-system:ip/dhcp/pool/network/dhcp-subnet-prefix";

enum : std::uint32_t {
    TAG_ADDRESS = 0x7c01758f,
    TAG_MAC = 0x1c4b7396,
    TAG_HOST_NAME = 0x3214a6d6,
    TAG_CLIENT_ID = 0x207b177f,
    TAG_REMAINING = 0x06910998,
    TAG_IN_USE = 0x114e0517,
    TAG_FREE = 0x4de1a5d6,
    TAG_PREFIX = 0x7a82c47a
};

struct FreeMemory {
    void operator()(void *memory) const { free(memory); }
};

File open_leases(TracePoint point)
{
    File file(fopen(leases_path, "re"));
    if (!file) log_trace(LOG_ERR, point, "unable to open dhcp lease file");
    return file;
}

// Lines of any length: a part of one is never taken for a line of its own.
bool read_line(const File &file, LineBuffer &line)
{
    return getline(&line.text, &line.size, file.get()) >= 0;
}

// At most `count`; the file may have grown since they were counted.
int fill_leases(const File &file, time_t now, DhcpLease *leases, int count)
{
    LineBuffer line;
    int filled = 0;
    while (filled < count && read_line(file, line)) {
        if (parse_lease(line.text, now, leases[filled])) ++filled;
    }
    return filled;
}

int num_excluded_addresses()
{
    std::unique_ptr<AddrRange[]> ranges;
    const int count = get_excl_addr_ranges(ranges);
    int sum = 0;
    for (int i = 0; i < count; ++i) {
        sum += addr_range_size(&ranges[static_cast<std::size_t>(i)]);
    }
    return sum;
}

void renew_snapshot()
{
    free(g_leases);
    g_leases = nullptr;
    g_num_leases = 0;
    g_num_leases = read_dhcp_leases_file(&g_leases);
}

bool has_record(long next)
{
    return next >= 0 && next < g_num_leases && g_leases != nullptr;
}

int reply_key_or_end(confd_trans_ctx *tctx, long next)
{
    if (!has_record(next)) return confd_data_reply_next_key(tctx, nullptr, 0, -1);
    const confd_value_t key = ipv4_value(g_leases[next].address);
    return confd_data_reply_next_key(tctx, &key, 1, next + 1);
}

confd_value_t duration_value(const confd_duration &duration)
{
    confd_value_t value{};
    value.type = C_DURATION;
    value.val.duration = duration;
    return value;
}

int reply_lease(confd_trans_ctx *tctx, const DhcpLease &lease)
{
    TagArray array;
    put(array, TAG_ADDRESS, ipv4_value(lease.address));
    put(array, TAG_MAC, text_value(lease.mac));
    put(array, TAG_HOST_NAME, text_value(lease.host_name));
    put(array, TAG_CLIENT_ID, text_value(lease.client_id));
    put(array, TAG_REMAINING, duration_value(lease.remaining));
    return confd_data_reply_tag_value_array(tctx, array.entries, array.count);
}

int reply_number(confd_trans_ctx *tctx, int number)
{
    const confd_value_t value = uint16_value(static_cast<std::uint16_t>(number));
    confd_data_reply_value(tctx, &value);
    return CONFD_OK;
}

int reply_prefix(confd_trans_ctx *tctx)
{
    confd_value_t val{};
    if (tollan_read_val(module_handle(tctx), prefix_path, &val) != 0) {
        log_trace(LOG_DEBUG, "tarvo_show_dhcp_pool_stats_get_elem", "no value found at %s", prefix_path);
        return CONFD_ERR;
    }
    assert_model(val.type == C_IPV4PREFIX, module_name, "(&val)->type == C_IPV4PREFIX");
    confd_data_reply_value(tctx, &val);
    tollan_release_val(&val);
    return CONFD_OK;
}

} // namespace

DhcpLease *g_leases;
int g_num_leases;

int get_num_dhcp_leases()
{
    const File file = open_leases("get_num_dhcp_leases");
    if (!file) return 0;
    LineBuffer line;
    int count = 0;
    while (read_line(file, line)) {
        if (is_lease_line(line.text)) ++count;
    }
    return count;
}

int read_dhcp_leases_file(DhcpLease **leases)
{
    const time_t now = time(nullptr);
    const int count = get_num_dhcp_leases();
    if (count == 0) return 0;
    const File file = open_leases("read_dhcp_leases_file");
    if (!file) return 0;
    std::unique_ptr<DhcpLease[], FreeMemory> records(
        static_cast<DhcpLease *>(calloc(static_cast<std::size_t>(count), sizeof(DhcpLease))));
    if (!records) return 0;
    const int filled = fill_leases(file, now, records.get(), count);
    if (filled > 0) *leases = records.release();
    return filled;
}

const DhcpLease *find_dhcp_lease(const DhcpLease *leases, int count, in_addr address)
{
    for (int i = 0; i < count; ++i) {
        if (leases[i].address.s_addr == address.s_addr) return &leases[i];
    }
    return nullptr;
}

int calc_free_dhcp_addresses(int in_use)
{
    AddrRange pool{};
    if (get_dhcp_addr_range(pool) != 0) return -1;
    const int total = addr_range_size(&pool);
    const int excluded = num_excluded_addresses();
    log_trace(LOG_DEBUG, "calc_free_dhcp_addresses", "Total addr %d, num_used %d, num excl %d", total, in_use,
              excluded);
    return total - in_use - excluded;
}

int tarvo_show_dhcp_pool_stats_get_elem(confd_trans_ctx *tctx, confd_hkeypath_t *kp)
{
    if (!module_is_ready(module_handle(tctx))) {
        log_trace(LOG_ERR, "tarvo_show_dhcp_pool_stats_get_elem", "get elem not up yet\n");
        return reply_not_found(tctx);
    }
    const confd_value_t &leaf = kp->v[0][0];
    assert_model(leaf.type == C_XMLTAG, module_name, "(&(keypath_p->v[0][0]))->type == C_XMLTAG");
    switch (leaf.val.xmltag.tag) {
    case TAG_IN_USE:
        return reply_number(tctx, get_num_dhcp_leases());
    case TAG_FREE:
        return reply_number(tctx, calc_free_dhcp_addresses(get_num_dhcp_leases()));
    case TAG_PREFIX:
        return reply_prefix(tctx);
    default:
        return CONFD_ERR;
    }
}

int tarvo_show_dhcp_binding_get_next(confd_trans_ctx *tctx, confd_hkeypath_t * /*kp*/, long next)
{
    if (!module_is_ready(module_handle(tctx))) return reply_not_found(tctx);
    if (next == -1) {
        renew_snapshot();
        next = 0;
    }
    if (reply_key_or_end(tctx, next) != CONFD_OK) {
        log_trace(LOG_ERR, "tarvo_show_dhcp_binding_get_next",
                  "Failed to send confd_data_reply_next_key - %s (%d) : %s", confd_strerror(confd_errno), confd_errno,
                  confd_lasterr());
    }
    return CONFD_OK;
}

int tarvo_show_dhcp_binding_get_object(confd_trans_ctx *tctx, confd_hkeypath_t *kp)
{
    if (!module_is_ready(module_handle(tctx)) || g_leases == nullptr || g_num_leases == 0) return reply_not_found(tctx);
    const confd_value_t &key = kp->v[0][0];
    assert_model(key.type == C_IPV4, module_name, "(&keypath_p->v[0][0])->type == C_IPV4");
    const DhcpLease *lease = find_dhcp_lease(g_leases, g_num_leases, key.val.ip);
    const int result = lease == nullptr ? CONFD_ERR : reply_lease(tctx, *lease);
    if (result != CONFD_OK) {
        log_trace(LOG_ERR, "tarvo_show_dhcp_binding_get_object", "Failed to send oper data reply - %s (%d) : %s",
                  confd_strerror(confd_errno), confd_errno, confd_lasterr());
    }
    return result;
}
