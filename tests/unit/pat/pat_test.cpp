#include <array>

#include <gtest/gtest.h>

#include "core/base/tag_values.h"
#include "fakes/files.h"
#include "fakes/platform.h"
#include "fakes/record.h"
#include "pat/pat_table.h"
#include "pat/static_nat.h"

namespace {

using fakes::Events;
using Rules = std::vector<std::array<int, 3>>; // protocol, local port, global port
enum { no_interface = 7, unreadable = 8 };

const std::string rule_list = "ip/nat/inside/source/static/tcp-udp-list";
const std::string listing = "/click/integrated_router/wan0_pf/mapped_ports";
const std::string copied = "run: cat " + listing + " > /pat.txt";
const std::string abandoned = "error: read_tcp_udp_nat_list[#]: port forwarding rules do not fit into one command, the "
                              "old ones stay in use\n";

const std::string failed = "error: tarvo_show_pat_get_next[#]: Failed to send confd_data_reply_next_key";

// What happened but for debug traces and reads.
Events done()
{
    Events events = fakes::taken();
    std::erase_if(events, [](const auto &e) { return e.starts_with("debug: ") || e.starts_with("cdb"); });
    return events;
}

Events loaded(const Rules &rules)
{
    fakes::reset();
    int &count = fakes::outcomes.instances[rule_list];
    for (const auto &[protocol, local_port, global_port] : rules) {
        const std::string entry = rule_list + "[" + std::to_string(count++) + "]/";
        auto &stored = fakes::outcomes.stored;
        if (protocol != no_interface) stored[entry + "interface/interface-choice"] = fakes::tag(0x0ccbe400);
        if (protocol == unreadable) continue;
        stored[entry + "tcp_udp"] = enum_value(protocol);
        stored[entry + "local-addr"] = fakes::ipv4_value("255.255.255.255");
        stored[entry + "local-port"] = uint16_value(static_cast<std::uint16_t>(local_port));
        stored[entry + "interface/global-port"] = uint16_value(static_cast<std::uint16_t>(global_port));
    }
    if (rules.empty()) count = CONFD_ERR;
    EXPECT_EQ(tarvo_config_ip_static_nat(nullptr, MOP_DELETED, 0, nullptr, 0, nullptr), CONFD_OK);
    return done();
}

TEST(StaticNat, ReplacesTheTableByOneCommandOrLeavesIt)
{
    Rules full(29, {2, 65535, 65535});
    std::fill_n(full.begin(), 3, std::array{0, 0, 0});
    full[2] = {0, 10000, 10};
    Rules too_full = full;
    too_full[0][0] = 2;
    EXPECT_EQ(loaded(full).at(0).size(), strlen("run: ") + 1023);
    // clang-format off
    const std::pair<Rules, Events> cases[] = {
        {{{0, 80, 8080}, {9, 1, 2}}, {"run: echo -e \"8080 80 255.255.255.255 tcp\\n2 1 255.255.255.255 both"}},
        {{{1, 53, 5353}},            {"run: echo -e \"5353 53 255.255.255.255 udp"}},
        {{{unreadable, 0, 0}},       {"run: echo -e \"0 0 0.0.0.0 tcp"}},
        {{},                         {"run: echo -e \""}},
        {{{0, 1, 1}, {no_interface, 1, 1}}, {}},
        {too_full,                          {abandoned}},
        {Rules(31, {2, 65535, 65535}),      {abandoned}},
    };
    // clang-format on
    for (auto [rules, events] : cases) {
        if (!events.empty() && events != Events{abandoned}) {
            events[0] += "\"> /click/integrated_router/wan0_pf/set_mapped_ports";
        }
        EXPECT_EQ(loaded(rules), events);
    }
    const auto before = fakes::open_descriptors();
    fakes::outcomes.start_session = CONFD_ERR;
    EXPECT_EQ(read_tcp_udp_nat_list({}), -1);
    fakes::outcomes.cdb_connect = CONFD_ERR;
    EXPECT_EQ(read_tcp_udp_nat_list({}), -1);
    EXPECT_EQ(fakes::taken().back(), "cdb_connect 1 0:0 16");
    EXPECT_EQ(fakes::open_descriptors(), before);
}

TEST(PatTable, SplitsLinesAtBlanks)
{
    // clang-format off
    const std::pair<const char *, const char *> cases[] = {
        {"8080 tcp 10.0.23.10 80 7\n",                   "8080 tcp 10.0.23.10 80 7"},
        {"  22   both  10.0.23.11  2222  1 more\n",      "22 both 10.0.23.11 2222 1"},
        {"5 udp 10.0.0.1\n",                             "5 udp 10.0.0.1\n 2 3"},
        {"5\tudp 10.0.0.1 4\n",                          "5 10.0.0. 4\n 2 3"},
        {"   ",                                          "1 old 9.9.9.9 2 3"},
        {"\n",                                           "0 old 9.9.9.9 2 3"},
        {"x protocol 255.255.255.2551 -1 99999999999\n", "0 protoco 255.255.255.255 4294967295 1215752191"},
    };
    // clang-format on
    for (const auto &[line, expected] : cases) {
        PortMapEntry &m = pat_infos[15] = {1, 2, 3, "old", "9.9.9.9"};
        char text[80];
        parse_line(15, line);
        snprintf(text, sizeof text, "%u %s %s %u %u", m.port, m.protocol, m.dest_address, m.dest_port, m.hits);
        EXPECT_STREQ(text, expected);
    }
}

TEST(PatTable, ServesTheDataPlanesListing)
{
    const auto walk = [](std::initializer_list<long> steps, bool ready = true) {
        for (const long step : steps)
            EXPECT_EQ(tarvo_show_pat_get_next(fakes::transaction(ready), nullptr, step), CONFD_OK);
    };
    const auto ask = [](std::uint32_t key, std::uint32_t leaf, int result = CONFD_OK, bool ready = true) {
        confd_hkeypath_t path = fakes::keypath({{fakes::tag(leaf)}, {uint32_value(key)}});
        EXPECT_EQ(tarvo_show_pat_get_elem(fakes::transaction(ready), &path), result);
    };
    fakes::reset();
    fakes::outcomes.run_commands = true;
    std::string text = std::string(70, 'h') + "\n"; // a header of 59 characters and a line of its own
    for (int i = 0; i < 20; i++)
        text += std::to_string(i) + " tcp 10.0.0.1 80 7\n";
    fakes::write_file(listing, text);
    walk({-1, 14, 15});
    for (const std::uint32_t leaf : {0x009e8010, 0x716c0116, 0x4bd61198, 0x3ccfd03d, 0x0ffc3f2a})
        ask(14, leaf);
    ask(15, 0x009e8010);
    ask(0, 1, CONFD_ERR);
    walk({-1}, false);
    ask(0, 0x009e8010, CONFD_OK, false);
    EXPECT_EQ(done(),
              (Events{copied, "reply key u32 0 next 1", "reply key u32 14 next 15", "reply key end next -1",
                      "reply u32 13", "reply \"tcp\"", "reply \"10.0.0.1\"", "reply u32 80", "reply u32 7",
                      "reply not found", "reply next object end next -1",
                      "error: tarvo_show_pat_get_elem[#]: show pat - get elem not up yet\n", "reply not found"}));
    EXPECT_FALSE(std::filesystem::exists("/pat.txt"));
    fakes::write_file(listing, "header\n");
    walk({-1});
    ask(14, 0x009e8010);
    fakes::outcomes.reply = CONFD_ERR;
    walk({4});
    EXPECT_EQ(done(), (Events{copied, "reply key end next -1", "reply not found", "reply key u32 4 next 5",
                              failed + " - strerror (1) : lasterr"}));
}

} // namespace
