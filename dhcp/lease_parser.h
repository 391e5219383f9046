// One line of dnsmasq's lease file: expiry in seconds since the epoch, hardware address, leased address, host name ("*"
// for none), client identifier, separated by blanks. Pure.
#ifndef GW_DHCP_LEASE_PARSER_H
#define GW_DHCP_LEASE_PARSER_H

#include <ctime>

#include "confd.h"

struct DhcpLease {
    confd_duration remaining; // days, hours, minutes and seconds; all 0 once expired
    char mac[18];
    in_addr address; // network byte order; 0.0.0.0 when the text is no IPv4 address
    char host_name[64];
    char client_id[32];
};

bool is_lease_line(const char *line); // all five fields convert

// False for a line that is no lease: the texts of `lease` may have changed then, its numbers have not. A text longer
// than its field is cut there, and what was cut off begins the next field.
bool parse_lease(const char *line, time_t now, DhcpLease &lease);

#endif
