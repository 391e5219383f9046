// Lines of dnsmasq's lease file.
#include <cstdlib>
#include <cstring>
#include <string>

#include "dhcp/lease_parser.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    std::string text(reinterpret_cast<const char *>(data), size);
    for (std::size_t end; !text.empty(); text.erase(0, end + 1)) {
        end = std::min(text.find('\n'), text.size() - 1);
        const std::string line = text.substr(0, end + 1);
        DhcpLease lease{};
        const bool parsed = parse_lease(line.c_str(), 1'000'000'000, lease);
        if (parsed != is_lease_line(line.c_str())) abort();
        if (parsed && (lease.client_id[0] == '\0' || strpbrk(lease.mac, " \n") != nullptr)) abort();
        if (lease.remaining.hours > 23 || lease.remaining.mins > 59 || lease.remaining.secs > 59) abort();
        if (!parsed && (lease.address.s_addr != 0 || lease.remaining.days != 0)) abort();
    }
    return 0;
}
