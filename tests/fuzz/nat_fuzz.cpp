// The command that loads the forwarding rules into the data plane, and what the data plane makes of it: the rules as
// they were, or none at all. An input is a byte per rule's protocol, four of address and two each of local and global
// port; what is left at its end is the routing prefix.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <arpa/inet.h>

#include "lab/port_mappings.h"
#include "pat/nat_command.h"
#include "pat/pat_table.h"
#include "protocol/wire.h"
#include "quiet_log.h"

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
std::string echoed(const std::string &command)
{
    std::string text;
    for (std::size_t at = command.find('"') + 1; command[at] != '"'; at++) {
        const bool line_break = command.compare(at, 2, "\\n") == 0;
        text += line_break ? '\n' : command[at];
        at += line_break ? 1 : 0;
    }
    return text;
}

void check_listing(const std::vector<NatRule> &rules, const std::string &listing)
{
    std::size_t at = listing.find('\n') + 1;
    for (const NatRule &rule : rules) {
        const std::size_t end = listing.find('\n', at) + 1;
        parse_line(1, listing.substr(at, end - at).c_str());
        at = end;
        const PortMapEntry &mapping = pat_infos[1];
        in_addr address{};
        if (mapping.port != rule.global_port || mapping.dest_port != rule.local_port || mapping.hits != 0) abort();
        if (strcmp(mapping.protocol, nat_proto_name(rule.protocol)) != 0) abort();
        if (inet_pton(AF_INET, mapping.dest_address, &address) != 1) abort();
        if (address.s_addr != rule.local_address.s_addr) abort();
    }
    if (at != listing.size()) abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    proto::Reader in = proto::make_reader({reinterpret_cast<const char *>(data), size});
    const std::vector<NatRule> rules = take_rules(in);
    const std::string prefix = std::string("/click/routing/") + std::string(in.at, in.end).c_str();
    NatCommand command;
    if (!make_command(rules, prefix.c_str(), command)) {
        if (rules.size() <= 28) abort();
        return 0;
    }
    bool port_zero = false;
    for (const NatRule &rule : rules)
        port_zero = port_zero || rule.global_port == 0;
    std::string listing;
    if (list_mappings(echoed(command.text), listing) == port_zero) abort();
    if (!port_zero) check_listing(rules, listing);
    return 0;
}
