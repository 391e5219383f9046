// Lines of dnsmasq's lease file.
#include <cstring>

#include "dhcp/lease_parser.h"
#include "target.h"

void check(std::string_view input)
{
    while (!input.empty()) {
        const std::string line = take_line(&input);
        DhcpLease lease{};
        const bool parsed = parse_lease(line.c_str(), 1'000'000'000, lease);
        require(parsed == is_lease_line(line.c_str()));
        require(!parsed || (lease.client_id[0] != '\0' && strpbrk(lease.mac, " \n") == nullptr));
        require(lease.remaining.hours <= 23 && lease.remaining.mins <= 59 && lease.remaining.secs <= 59);
        require(parsed || (lease.address.s_addr == 0 && lease.remaining.days == 0));
    }
}
