#include "dhcp/lease_parser.h"

#include <arpa/inet.h>
#include <cstdint>
#include <cstdio>

namespace {

// What needs conversion once the whole line has been scanned.
struct RawFields {
    int expiry;
    char address[INET_ADDRSTRLEN];
};

// The widths of the scan format.
static_assert(sizeof(DhcpLease::mac) == 17 + 1 && sizeof(RawFields::address) == 15 + 1 &&
              sizeof(DhcpLease::host_name) == 63 + 1 && sizeof(DhcpLease::client_id) == 31 + 1);

bool scan_line(const char *line, RawFields &raw, DhcpLease &lease)
{
    // NOLINTNEXTLINE(cert-err34-c): a number that does not fit gives a wrong time and still a lease.
    return sscanf(line, "%d %17s %15s %63s %31s", &raw.expiry, lease.mac, raw.address, lease.host_name,
                  lease.client_id) == 5;
}

confd_duration duration_of(time_t seconds)
{
    confd_duration duration{};
    if (seconds <= 0) return duration;
    duration.days = static_cast<std::uint32_t>(seconds / 86400);
    duration.hours = static_cast<std::uint32_t>(seconds % 86400 / 3600);
    duration.mins = static_cast<std::uint32_t>(seconds % 3600 / 60);
    duration.secs = static_cast<std::uint32_t>(seconds % 60);
    return duration;
}

} // namespace

bool is_lease_line(const char *line)
{
    RawFields raw;
    DhcpLease scratch;
    return scan_line(line, raw, scratch);
}

bool parse_lease(const char *line, time_t now, DhcpLease &lease)
{
    RawFields raw;
    if (!scan_line(line, raw, lease)) return false;
    lease.remaining = duration_of(raw.expiry - now);
    inet_pton(AF_INET, raw.address, &lease.address);
    return true;
}
