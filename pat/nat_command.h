// The shell command that replaces the data plane's whole table of forwarding rules. Pure.
#ifndef GW_PAT_NAT_COMMAND_H
#define GW_PAT_NAT_COMMAND_H

#include <cstddef>
#include <cstdint>
#include <netinet/in.h>

inline constexpr std::size_t nat_command_size = 1024; // the terminating NUL included: room for at least 28 rules

// Protocol numbers are the model's: 0 tcp, 1 udp, others both. Ports in host byte order.
struct NatRule {
    std::int32_t protocol;
    in_addr local_address;
    std::uint16_t local_port;
    std::uint16_t global_port;
};

struct NatCommand {
    char text[nat_command_size];
};

const char *nat_proto_name(std::int32_t protocol);

// To be called in this order. False, and the command empty, when the part does not fit as a whole.
bool append_opening(NatCommand &command);
bool append_rule(NatCommand &command, const NatRule &rule, bool is_last); // the last one has no line break
bool append_target(NatCommand &command, const char *routing_prefix);      // the prefix with its slash at the end

#endif
