#include "pat/nat_command.h"

#include <arpa/inet.h>
#include <cstdio>
#include <safe_str_lib.h>

namespace {

constexpr const char *load_handler = "wan0_pf/set_mapped_ports";
constexpr std::size_t part_size = 128; // holds every rule and every target: a prefix has at most 25 characters

bool append(NatCommand &command, const char *part)
{
    return strcat_s(command.text, sizeof command.text, part) == EOK;
}

} // namespace

const char *nat_proto_name(std::int32_t protocol)
{
    if (protocol == 0) return "tcp";
    return protocol == 1 ? "udp" : "both";
}

bool append_opening(NatCommand &command)
{
    return append(command, "echo -e \"");
}

bool append_rule(NatCommand &command, const NatRule &rule, bool is_last)
{
    char address[INET_ADDRSTRLEN];
    char part[part_size];
    inet_ntop(AF_INET, &rule.local_address, address, sizeof address);
    // The shell's echo makes the line break.
    snprintf(part, sizeof part, "%u %u %s %s%s", rule.global_port, rule.local_port, address,
             nat_proto_name(rule.protocol), is_last ? "" : "\\n");
    return append(command, part);
}

bool append_target(NatCommand &command, const char *routing_prefix)
{
    char part[part_size];
    snprintf(part, sizeof part, "\"> %s%s", routing_prefix, load_handler);
    return append(command, part);
}
