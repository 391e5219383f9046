#include <array>

#include <gtest/gtest.h>

#include "core/base/tag_values.h"
#include "fakes/platform.h"
#include "fakes/transcript.h"
#include "pat/pat_table.h"
#include "pat/static_nat.h"

using fakes::outcomes;
using Rules = std::vector<std::array<int, 3>>; // protocol, local port, global port
enum { no_interface = 7, unreadable = 8 };

const std::string rule_list = "ip/nat/inside/source/static/tcp-udp-list";
const std::string listing = "/click/integrated_router/wan0_pf/mapped_ports";

static void load(const Rules &rules)
{
    outcomes = {};
    int &count = outcomes.instances[rule_list];
    for (const auto &[protocol, local_port, global_port] : rules) {
        const std::string entry = rule_list + "[" + std::to_string(count++) + "]/";
        auto &stored = outcomes.stored;
        if (protocol != no_interface) stored[entry + "interface/interface-choice"] = fakes::tag(0x0ccbe400);
        if (protocol == unreadable) continue;
        stored[entry + "tcp_udp"] = enum_value(protocol);
        stored[entry + "local-addr"] = fakes::ipv4_value("255.255.255.255");
        stored[entry + "local-port"] = uint16_value(static_cast<std::uint16_t>(local_port));
        stored[entry + "interface/global-port"] = uint16_value(static_cast<std::uint16_t>(global_port));
    }
    if (rules.empty()) count = CONFD_ERR;
    fakes::record("== " + std::to_string(rules.size()));
    EXPECT_EQ(tarvo_config_ip_static_nat(nullptr, MOP_DELETED, 0, nullptr, 0, nullptr), CONFD_OK);
}

TEST(StaticNat, ReplacesTheTableByOneCommandOrLeavesIt)
{
    Rules full(29, {2, 65535, 65535});
    std::fill_n(full.begin(), 3, std::array{0, 0, 0});
    full[2] = {0, 10000, 10}; // the command takes all of its 1023 characters
    fakes::reset();
    // clang-format off
    load({{0, 80, 8080}, {9, 1, 2}});
    load({{1, 53, 5353}});
    load({{unreadable, 0, 0}});
    load({});
    load({{0, 1, 1}, {no_interface, 1, 1}});
    // clang-format on
    load(full);
    full[0][0] = 2;
    load(full);
    load(Rules(31, {2, 65535, 65535}));
    const auto before = fakes::open_descriptors();
    outcomes.start_session = CONFD_ERR;
    EXPECT_EQ(read_tcp_udp_nat_list({}), -1);
    outcomes.cdb_connect = CONFD_ERR;
    EXPECT_EQ(read_tcp_udp_nat_list({}), -1);
    EXPECT_EQ(fakes::open_descriptors(), before);
    fakes::expect_recorded("pat/static_nat.txt", "^(debug|cdb)");
}

TEST(PatTable, ServesTheDataPlanesListing)
{
    const auto ask = [](std::uint32_t key, std::uint32_t leaf) {
        fakes::ask(tarvo_show_pat_get_elem, {{fakes::tag(leaf)}, {uint32_value(key)}});
    };
    fakes::reset();
    outcomes.run_commands = true;
    std::string text = std::string(70, 'h') + "\n"; // a header of 59 characters and a line of its own
    for (int i = 0; i < 20; i++)
        text += std::to_string(i) + " tcp 10.0.0.1 80 7\n";
    fakes::write_file(listing, text);
    for (const long step : {-1, 14, 15})
        fakes::ask(tarvo_show_pat_get_next, {}, step);
    for (const std::uint32_t leaf : {0x009e8010, 0x716c0116, 0x4bd61198, 0x3ccfd03d, 0x0ffc3f2a})
        ask(14, leaf);
    ask(15, 0x009e8010);
    ask(0, 1);
    outcomes.ready = 0;
    fakes::ask(tarvo_show_pat_get_next, {}, -1);
    ask(0, 0x009e8010);
    outcomes.ready = 1;
    EXPECT_FALSE(std::filesystem::exists("/pat.txt"));
    fakes::record("== odd lines, which leave of the entries what they do not say");
    fakes::write_file(listing, std::string(58, 'h') +
                                   "\n8080 tcp 10.0.23.10 80 8\n  22   both  10.0.23.11  2222  1 more\n"
                                   "5 udp 10.0.0.2\n5\tudp 10.0.0.1 4\n   \n\n"
                                   "x protocol 255.255.255.2551 -1 99999999999\n   ");
    fakes::ask(tarvo_show_pat_get_next, {}, -1);
    fakes::record("== an empty listing");
    fakes::write_file(listing, "header\n");
    fakes::ask(tarvo_show_pat_get_next, {}, -1);
    ask(14, 0x009e8010);
    outcomes.reply = CONFD_ERR;
    fakes::ask(tarvo_show_pat_get_next, {}, 4);
    fakes::expect_recorded("pat/listing.txt");
}
