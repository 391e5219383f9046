#include <gtest/gtest.h>

#include "core/base/tag_values.h"
#include "dhcp/dhcp_lists.h"
#include "dhcp/side_file.h"
#include "fakes/files.h"
#include "fakes/platform.h"
#include "fakes/record.h"

namespace {

using fakes::Events;
using fakes::ipv4_value;
using Ranges = std::vector<std::pair<const char *, const char *>>; // an empty high address cannot be read

const Events reloaded = {"run: killall -SIGHUP dnsmasq"};
const std::string excluded_file = "/tmp/dnsmasq.excl.dhcp_hosts";

std::string file_at(const std::string &path)
{
    std::ifstream file(path);
    return file ? std::string(std::istreambuf_iterator<char>(file), {}) : "no file";
}

// What happened but for reads and debug traces.
Events done()
{
    Events events = fakes::taken();
    std::erase_if(events, [](const auto &e) { return e.starts_with("debug: ") || e.starts_with("cdb"); });
    return events;
}

// The pool 10.0.23.0/24 and the excluded ranges.
void store(const Ranges &ranges)
{
    const std::string list = "/gw-system:ip/dhcp/excluded-address/excluded-address-range";
    fakes::reset();
    confd_value_t &pool = fakes::outcomes.stored["/gw-system:ip/dhcp/pool/network/dhcp-subnet-prefix"];
    pool = ipv4_value("10.0.23.0"); // the address is a prefix value's first member
    pool.val.ipv4prefix.len = 24;
    int &count = fakes::outcomes.instances[list];
    for (const auto &[low, high] : ranges) {
        const std::string entry = list + "[" + std::to_string(count++) + "]";
        fakes::outcomes.stored[entry + "/low-address"] = ipv4_value(low);
        if (*high != '\0') fakes::outcomes.stored[entry + "/high-address"] = ipv4_value(high);
    }
}

TEST(SideFile, ReplacesOrRemovesOneLine)
{
    // clang-format off
    const struct { const char *before; const char *key, *line; const char *after; } cases[] = { // no line: removed
        {"",                      "3",  nullptr, ""},
        {"3,a\n33,b\n6,c\n",      "3",  "3,d,e", "33,b\n6,c\n3,d,e\n"},
        {"3,a\n33,b\n3,c\n",      "3",  nullptr, "33,b\n"},
        {"3,a\n33,b\n",           "4",  nullptr, "3,a\n33,b\n"},
        {"3\n,3,a\n 3,b\n\n3",    "3",  nullptr, "3\n,3,a\n 3,b\n\n3\n"},
        {"5,x",                   "6",  "6,y",   "5,x\n6,y\n"},
    };
    // clang-format on
    process_dnsmasq_dhcp_file("/tmp/side", false, "3", "3,a");
    EXPECT_EQ(file_at("/tmp/side"), "3,a\n");
    for (const auto &c : cases) {
        fakes::write_file("/tmp/side", c.before);
        done();
        process_dnsmasq_dhcp_file("/tmp/side", c.line == nullptr, c.key, c.line);
        EXPECT_EQ(file_at("/tmp/side"), c.after);
        EXPECT_EQ(done(), reloaded);
        EXPECT_EQ(file_at("/tmp/side.tmp"), "no file");
    }
    std::filesystem::create_symlink("/dev/full", "/tmp/side.tmp");
    process_dnsmasq_dhcp_file("/tmp/side", false, "3", "3,a");
    process_dnsmasq_dhcp_file("/tmp/no/side", false, "3", "3,a");
    EXPECT_EQ(done(), (Events{"error: process_dnsmasq_dhcp_file[#]: unable to write /tmp/side.tmp",
                              "error: process_dnsmasq_dhcp_file[#]: unable to open /tmp/no/side.tmp"}));
    EXPECT_EQ(file_at("/tmp/side"), "5,x\n6,y\n");
}

TEST(DhcpLists, WriteOptionsAndBindingsByTheirValuePairs)
{
    confd_value_t addresses[] = {ipv4_value("10.0.23.1"), ipv4_value("10.0.23.2")};
    const auto list = [&](std::uint32_t size, confd_vtype type = C_LIST) {
        confd_value_t value{type, {}};
        value.val.list = {addresses, size};
        return tag_value(0x61fa2cdb, value);
    };
    const auto raw = tag_value(0x1bb6fada, fakes::text_value("10.0.23.1"));
    const auto quoted = tag_value(0x1521542e, fakes::text_value("lan"));
    const auto number = tag_value(0x30d6f2e1, int32_value(-2147483647));
    // clang-format off
    std::pair<std::vector<confd_tag_value_t>, const char *> cases[] = {
        {{raw},     "3,10.0.23.1\n"}, {{quoted},         "3,\"lan\"\n"},    {{number, tag_value(1, raw.v)}, "3,-2147483647\n"},
        {{list(0)}, "3,\n"},          {{list(1)},        "3,10.0.23.1\n"},  {{list(2)}, "3,10.0.23.1,10.0.23.2\n"},
        {{},        ""},              {{list(1, C_BUF)}, ""},               {{number, raw}, "3,10.0.23.1\n"},
    };
    // clang-format on
    confd_value_t code{C_UINT8, {}};
    code.val.u8 = 3;
    for (auto &[pairs, text] : cases) {
        const auto count = static_cast<std::uint16_t>(pairs.size());
        EXPECT_EQ(tarvo_config_dhcp_options(nullptr, MOP_DELETED, 1, &code, count, pairs.data()), CONFD_OK);
        EXPECT_EQ(file_at("/tmp/dnsmasq.dhcp_opts"), text);
    }
    confd_value_t mac = fakes::text_value("02:11:22:33:44:55");
    confd_tag_value_t pairs[] = {tag_value(0x7971ea23, ipv4_value("10.0.23.50")), raw};
    EXPECT_EQ(tarvo_config_dhcp_mac_binding(nullptr, MOP_DELETED, 1, &mac, 2, pairs), CONFD_OK);
    EXPECT_EQ(file_at("/tmp/dnsmasq.bind.dhcp_hosts"), "02:11:22:33:44:55,10.0.23.50\n");
    tarvo_config_dhcp_mac_binding(nullptr, MOP_CREATED, 1, &mac, 1, pairs + 1);
    EXPECT_EQ(file_at("/tmp/dnsmasq.bind.dhcp_hosts"), "");
}

TEST(DhcpLists, WriteAllExclusionsAnew)
{
    const Events written = {"error: write_excluded_addresses[#]: ***" + excluded_file + " opened***",
                            "error: write_excluded_addresses[#]: executing killall -SIGHUP dnsmasq", reloaded[0]};
    // clang-format off
    const struct { Ranges ranges; const char *text; Events events; } cases[] = {
        {{{"10.0.0.255", "10.0.1.1"}, {"192.0.0.0", "10.0.0.0"}, {"9.9.9.9", "9.9.9.9"}},
         "10.0.0.255\n10.0.1.0\n10.0.1.1\n\n\n9.9.9.9\n\n", written},
        {{{"9.9.9.8", "9.9.9.8"}, {"9.9.9.9", ""}}, "10.0.0.255\n10.0.1.0\n10.0.1.1\n\n\n9.9.9.9\n\n",
         {"error: get_excl_addr_ranges[#]: read excl addr range idx 1 failed"}},
        {{}, "", written},
    };
    // clang-format on
    for (const auto &c : cases) {
        store(c.ranges);
        confd_value_t key = ipv4_value("1.2.3.4");
        EXPECT_EQ(tarvo_config_dhcp_excluded_addresses(nullptr, MOP_DELETED, 1, &key, 0, nullptr), CONFD_OK);
        EXPECT_EQ(done(), c.events);
        EXPECT_EQ(file_at(excluded_file), c.text);
    }
}

TEST(DhcpLists, RefuseWhatLiesOutsideThePoolOrOverlaps)
{
    const Events order = {"refused: High address needs to be greater low address"};
    const Events outside = {"refused: Excluded address range needs to fall in dhcp range"};
    const Events overlap = {"refused: Invalid range"};
    const Events unbound = {"refused: MAC binding address needs to fall in dhcp range"};
    // clang-format off
    const struct { const char *low, *high; Events why; } cases[] = { // no low address: a binding
        {"10.0.23.3",   "10.0.23.9",   {}},      {"10.0.23.31",  "10.0.23.254", {}},
        {"10.0.23.255", "10.0.23.2",   order},   {"10.0.23.2",   "10.0.23.9",   outside},
        {"10.0.23.200", "10.0.23.255", outside}, {"10.0.23.3",   "10.0.23.10",  overlap},
        {"10.0.23.30",  "10.0.23.30",  overlap}, {"10.0.23.9",   "10.0.23.200", overlap},
        {"", "10.0.23.3", {}}, {"", "10.0.23.254", {}}, {"", "10.0.23.2", unbound}, {"", "10.0.23.255", unbound},
    };
    // clang-format on
    const auto refusal = [](const std::string &low, const char *high) {
        confd_hkeypath_t path = fakes::keypath({{fakes::tag(0x41a4ae0a)}, {ipv4_value(low.c_str())}});
        confd_value_t value = ipv4_value(high);
        const auto validate = low.empty() ? tarvo_validate_dhcp_mac_binding : tarvo_validate_dhcp_excluded_range;
        const int result = validate(nullptr, &path, &value);
        Events events = done();
        EXPECT_EQ(result, events.empty() || events[0].starts_with("error") ? CONFD_OK : CONFD_ERR);
        return events;
    };
    store(Ranges(1, {"10.0.23.10", "10.0.23.30"}));
    for (const auto &[low, high, why] : cases)
        EXPECT_EQ(refusal(low, high), why);
    store(Ranges(1, {"10.0.23.3", ""}));
    EXPECT_EQ(refusal("10.0.23.3", "10.0.23.254"),
              Events{"error: get_excl_addr_ranges[#]: read excl addr range idx 0 failed"});
    fakes::outcomes.stored.clear();
    EXPECT_EQ(refusal("", "10.0.23.3"), Events{"refused: Error retrieving DHCP subnet range"});
    EXPECT_EQ(refusal("10.0.23.3", "10.0.23.3"),
              Events{"refused: tarvo_validate_dhcp_excluded_range: Error retrieving DHCP subnet range"});
}

} // namespace
