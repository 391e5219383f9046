#include <arpa/inet.h>
#include <cstdio>
#include <new>

#include "core/base/assertion.h"
#include "core/base/cdb_sessions.h"
#include "core/base/handles.h"
#include "core/base/log.h"
#include "dhcp/dhcp_lists.h"
#include "dhcp/pool_arithmetic.h"
#include "dhcp/side_file.h"

namespace {

constexpr const char *excluded_path = "/tmp/dnsmasq.excl.dhcp_hosts";
constexpr const char *ranges_path = "/gw-system:ip/dhcp/excluded-address/excluded-address-range";

bool read_range(int sock, int i, AddrRange &range)
{
    if (cdb_get_ipv4(sock, &range.low, "%s[%d]/low-address", ranges_path, i) == CONFD_OK &&
        cdb_get_ipv4(sock, &range.high, "%s[%d]/high-address", ranges_path, i) == CONFD_OK) {
        return true;
    }
    log_trace(LOG_ERR, "get_excl_addr_ranges", "read excl addr range idx %d failed", i);
    return false;
}

// One address per line and an empty line, only the latter when high is below low.
void write_range(const File &file, const AddrRange &range)
{
    const std::uint32_t low = ntohl(range.low.s_addr);
    const int size = ntohl(range.high.s_addr) < low ? 0 : addr_range_size(&range);
    for (int k = 0; k < size; ++k) {
        fprintf(file.get(), "%s\n", dotted({htonl(low + static_cast<std::uint32_t>(k))}).text);
    }
    putc('\n', file.get());
}

} // namespace

int get_excl_addr_ranges(std::unique_ptr<AddrRange[]> &ranges)
{
    ranges.reset();
    const CdbSession session(setup_cdb_session());
    if (!session.open()) return -1;
    const int n = cdb_num_instances(session.sock, "%s", ranges_path);
    if (n < 0) return -1;
    std::unique_ptr<AddrRange[]> read(new (std::nothrow) AddrRange[static_cast<std::size_t>(n)]{});
    if (!read) return -1;
    for (int i = 0; i < n; ++i) {
        if (!read_range(session.sock, i, read[static_cast<std::size_t>(i)])) return -1;
    }
    ranges = std::move(read);
    return n;
}

void write_excluded_addresses(const AddrRange *ranges, int count)
{
    constexpr const char *name = "write_excluded_addresses";
    File file(fopen(excluded_path, "we"));
    if (!file) {
        log_trace(LOG_ERR, name, "unable to open %s", excluded_path);
        return;
    }
    log_trace(LOG_ERR, name, "***%s opened***", excluded_path);
    for (int i = 0; i < count; ++i) {
        write_range(file, ranges[i]);
    }
    if (!close_written(file)) log_trace(LOG_ERR, name, "unable to write %s", excluded_path);
    reload_dnsmasq(LOG_ERR, name);
}

int tarvo_config_dhcp_excluded_addresses(tollan_change_ctx * /*ctx*/, int /*op*/, int num_keys, confd_value_t *keys,
                                         std::uint16_t num_values, confd_tag_value_t *values)
{
    constexpr const char *name = "tarvo_config_dhcp_excluded_addresses";
    log_trace(LOG_DEBUG, name, "num_keys:%d, num_values:%d", num_keys, num_values);
    assert_model(keys->type == C_IPV4, "dhcp_config", "(key_p)->type == C_IPV4");
    for (int i = 0; i < num_values; ++i) {
        log_pair(name, values[i]);
    }
    std::unique_ptr<AddrRange[]> ranges;
    const int num_ranges = get_excl_addr_ranges(ranges);
    log_trace(LOG_DEBUG, name, "num_ranges: %d,  ranges: %p", num_ranges, static_cast<void *>(ranges.get()));
    if (num_ranges >= 0) write_excluded_addresses(ranges.get(), num_ranges);
    return CONFD_OK;
}
