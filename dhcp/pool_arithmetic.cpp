#include "dhcp/pool_arithmetic.h"

#include <arpa/inet.h>

namespace {

constexpr std::uint32_t router_number = 1;
constexpr std::uint32_t host_number = 2;
constexpr std::uint32_t first_leased_number = 3;
constexpr std::uint8_t shortest_prefix = 24;
constexpr std::uint8_t longest_prefix = 30;

in_addr with_number(in_addr address, std::uint32_t number)
{
    return {address.s_addr | htonl(number)};
}

in_addr broadcast_of(const confd_ipv4_prefix &prefix)
{
    return {prefix.ip.s_addr | ~netmask_of(prefix.len).s_addr};
}

} // namespace

in_addr netmask_of(std::uint8_t prefix_length)
{
    if (prefix_length == 0) return {0};
    return {htonl(prefix_length < 32 ? UINT32_MAX << (32 - prefix_length) : UINT32_MAX)};
}

bool is_valid_dhcp_prefix_len(std::uint8_t length)
{
    return length >= shortest_prefix && length <= longest_prefix;
}

AddrRange calc_dhcp_addr_range(const confd_ipv4_prefix *prefix)
{
    if (prefix == nullptr) return {};
    const in_addr below_broadcast{broadcast_of(*prefix).s_addr & ~htonl(1)};
    return {with_number(prefix->ip, first_leased_number), below_broadcast};
}

int addr_range_size(const AddrRange *range)
{
    if (range == nullptr) return -1;
    return static_cast<int>(ntohl(range->high.s_addr) - ntohl(range->low.s_addr) + 1);
}

void derive_pool_addresses(DhcpPoolConf &pool)
{
    pool.range = calc_dhcp_addr_range(&pool.prefix);
    pool.broadcast = broadcast_of(pool.prefix);
    pool.router = with_number(pool.prefix.ip, router_number);
    pool.host = with_number(pool.prefix.ip, host_number);
}

int lease_minutes(const DhcpPoolConf &pool)
{
    return static_cast<int>((pool.lease_days * 24 + pool.lease_hours) * 60 + pool.lease_minutes);
}

DottedText dotted(in_addr address)
{
    DottedText dotted{};
    inet_ntop(AF_INET, &address, dotted.text, sizeof dotted.text);
    return dotted;
}
