// The command that loads the forwarding rules into the data plane, and what the data plane makes of it: the rules as
// they were, or none at all. An input is a byte per rule's protocol, four of address and two each of local and global
// port; what is left at its end is the routing prefix.
#include <cstring>

#include <arpa/inet.h>

#include "lab/port_mappings.h"
#include "pat/nat_command.h"
#include "pat/pat_table.h"
#include "protocol/wire.h"
#include "quiet.h"
#include "target.h"

namespace {

std::vector<NatRule> take_rules(proto::Reader &in)
{
    std::vector<NatRule> rules;
    while (in.end - in.at >= 9) {
        NatRule rule{};
        rule.protocol = proto::get_u8(in);
        rule.local_address.s_addr = htonl(proto::get_u32(in));
        rule.local_port = proto::get_u16(in);
        rule.global_port = proto::get_u16(in);
        rules.push_back(rule);
    }
    return rules;
}

bool make_command(const std::vector<NatRule> &rules, const char *prefix, NatCommand &command)
{
    command.text[0] = '\0';
    if (!append_opening(command)) return false;
    for (const NatRule &rule : rules) {
        if (!append_rule(command, rule, &rule == &rules.back())) return false;
    }
    return append_target(command, prefix);
}

// What the shell's echo writes.
std::string echoed(std::string_view command)
{
    take_until(&command, '"');
    std::string text = take_until(&command, '"');
    for (std::size_t at = text.find("\\n"); at != std::string::npos; at = text.find("\\n", at))
        text.replace(at, 2, 1, '\n');
    return text;
}

void check_listing(const std::vector<NatRule> &rules, std::string_view listing)
{
    take_line(&listing);
    for (const NatRule &rule : rules) {
        parse_line(1, take_line(&listing).c_str());
        const PortMapEntry &mapping = pat_infos[1];
        in_addr address{};
        require(mapping.port == rule.global_port && mapping.dest_port == rule.local_port && mapping.hits == 0);
        require(strcmp(mapping.protocol, nat_proto_name(rule.protocol)) == 0);
        require(inet_pton(AF_INET, mapping.dest_address, &address) == 1);
        require(address.s_addr == rule.local_address.s_addr);
    }
    require(listing.empty());
}

} // namespace

void check(std::string_view input)
{
    proto::Reader in = proto::make_reader(input);
    const std::vector<NatRule> rules = take_rules(in);
    const std::string prefix = std::string("/click/routing/") + std::string(in.at, in.end).c_str();
    NatCommand command;
    if (!make_command(rules, prefix.c_str(), command)) {
        require(rules.size() > 28);
        return;
    }
    const bool port_zero = std::ranges::any_of(rules, [](const NatRule &rule) { return rule.global_port == 0; });
    std::string listing;
    require(list_mappings(echoed(command.text), listing) != port_zero);
    if (!port_zero) check_listing(rules, listing);
}
