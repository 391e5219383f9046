// What each delivery writes and each validation refuses is compared with the transcripts in tests/data/dhcp.
#include <gtest/gtest.h>

#include "core/base/tag_values.h"
#include "dhcp/dhcp_lists.h"
#include "fakes/platform.h"
#include "fakes/transcript.h"

using namespace fakes;
using Ranges = std::vector<std::pair<const char *, const char *>>; // an empty high address cannot be read

static void show_file(const std::string &path)
{
    record(path + ":\n" + fakes::read_file(path));
}

// The pool 10.0.23.0/24 and the excluded ranges.
static void store(const Ranges &ranges)
{
    const std::string list = "/gw-system:ip/dhcp/excluded-address/excluded-address-range";
    fakes::outcomes = {};
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

TEST(DhcpLists, WriteOptionsAndBindingsByTheirValuePairs)
{
    fakes::reset();
    confd_value_t addresses[] = {ipv4_value("10.0.23.1"), ipv4_value("10.0.23.2")};
    const auto list = [&](std::uint32_t size, confd_vtype type = C_LIST) {
        return tag_value(0x61fa2cdb, {.type = type, .val = {.list = {addresses, size}}});
    };
    const auto raw = tag_value(0x1bb6fada, fakes::text_value("10.0.23.1"));
    const auto quoted = tag_value(0x1521542e, fakes::text_value("lan"));
    const auto number = tag_value(0x30d6f2e1, int32_value(-2147483647));
    const auto deliver = [](std::vector<confd_tag_value_t> pairs) {
        confd_value_t code = fakes::pair(0, C_UINT8, 3).v;
        const auto count = static_cast<std::uint16_t>(pairs.size());
        EXPECT_EQ(tarvo_config_dhcp_options(nullptr, MOP_DELETED, 1, &code, count, pairs.data()), CONFD_OK);
        show_file("/tmp/dnsmasq.dhcp_opts");
    };
    for (const auto &pair : {raw, quoted, list(0), list(1), list(2), list(1, C_BUF)})
        deliver({pair});
    deliver({number, tag_value(1, raw.v)});
    deliver({});
    deliver({number, raw});
    confd_value_t mac = fakes::text_value("02:11:22:33:44:55");
    confd_tag_value_t pairs[] = {raw, tag_value(0x7971ea23, ipv4_value("10.0.23.50"))};
    for (const std::uint16_t count : {std::uint16_t{2}, std::uint16_t{1}}) {
        EXPECT_EQ(tarvo_config_dhcp_mac_binding(nullptr, MOP_DELETED, 1, &mac, count, pairs), CONFD_OK);
        show_file("/tmp/dnsmasq.bind.dhcp_hosts");
    }
    fakes::expect_recorded("dhcp/options_and_bindings.txt");
}

TEST(DhcpLists, WriteAllExclusionsAnew)
{
    fakes::reset();
    const auto deliver = [](const Ranges &ranges) {
        store(ranges);
        confd_value_t key = ipv4_value("1.2.3.4");
        EXPECT_EQ(tarvo_config_dhcp_excluded_addresses(nullptr, MOP_DELETED, 1, &key, 0, nullptr), CONFD_OK);
        show_file("/tmp/dnsmasq.excl.dhcp_hosts");
    };
    // clang-format off
    deliver({{"10.0.0.255", "10.0.1.1"}, {"192.0.0.0", "10.0.0.0"}, {"9.9.9.9", "9.9.9.9"}});
    deliver({{"9.9.9.8", "9.9.9.8"}, {"9.9.9.9", ""}});
    // clang-format on
    deliver({});
    fakes::expect_recorded("dhcp/exclusions.txt", "  ranges: ");
}

// Of an excluded range, or of a binding if there is no low address.
static void validate(const std::string &low, const char *high)
{
    confd_hkeypath_t path = fakes::keypath({{fakes::tag(0x41a4ae0a)}, {ipv4_value(low.c_str())}});
    confd_value_t value = ipv4_value(high);
    record("== " + low + " " + high);
    const auto validator = low.empty() ? tarvo_validate_dhcp_mac_binding : tarvo_validate_dhcp_excluded_range;
    record("result " + std::to_string(validator(nullptr, &path, &value)));
}

TEST(DhcpLists, RefuseWhatLiesOutsideThePoolOrOverlaps)
{
    fakes::reset();
    store(Ranges(1, {"10.0.23.10", "10.0.23.30"}));
    // clang-format off
    const Ranges ranges = {
        {"10.0.23.3", "10.0.23.9"}, {"10.0.23.31", "10.0.23.254"}, {"10.0.23.255", "10.0.23.2"}, {"10.0.23.2", "10.0.23.9"},
        {"10.0.23.200", "10.0.23.255"}, {"10.0.23.3", "10.0.23.10"}, {"10.0.23.30", "10.0.23.30"}, {"10.0.23.9", "10.0.23.200"},
    };
    // clang-format on
    for (const auto &[low, high] : ranges)
        validate(low, high);
    for (const char *bound : {"10.0.23.3", "10.0.23.254", "10.0.23.2", "10.0.23.255"})
        validate("", bound);
    store(Ranges(1, {"10.0.23.3", ""}));
    validate("10.0.23.3", "10.0.23.254");
    fakes::outcomes.stored.clear();
    validate("", "10.0.23.3");
    validate("10.0.23.3", "10.0.23.3");
    fakes::expect_recorded("dhcp/refusals.txt");
}
