// What follows from a pool's prefix. Pure.
#ifndef GW_DHCP_POOL_ARITHMETIC_H
#define GW_DHCP_POOL_ARITHMETIC_H

#include "dhcp/dhcp_pool.h"

in_addr netmask_of(std::uint8_t prefix_length); // network byte order; 32 bits for any length above 31

// Fills range, router, host and broadcast from the prefix. Host bits of a configured address are not cleared first.
void derive_pool_addresses(DhcpPoolConf &pool);

int lease_minutes(const DhcpPoolConf &pool); // the whole lease time

// An address as text, for files and commands.
struct DottedText {
    char text[INET_ADDRSTRLEN];
};
DottedText dotted(in_addr address);

#endif
