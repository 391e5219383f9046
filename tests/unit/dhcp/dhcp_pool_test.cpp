#include <arpa/inet.h>
#include <csignal>

#include <gtest/gtest.h>

#include "core/base/globals.h"
#include "dhcp/pool_arithmetic.h"
#include "fakes/files.h"
#include "fakes/platform.h"
#include "fakes/record.h"

static int mappings;
extern "C" int __wrap__Z12get_pat_infov()
{
    return mappings;
}

namespace {

enum : std::uint32_t { prefix_leaf = 0x7a82c47a, days = 0x2b27021e, hours = 0x60dd82a5, minutes = 0x48daf5d4 };

confd_tag_value_t pair_of(std::uint32_t tag, confd_vtype type, unsigned number)
{
    confd_tag_value_t pair{
        {tag,  0 },
        {type, {}}
    };
    pair.v.val.u64 = number;
    return pair;
}

confd_tag_value_t prefix(const char *address, std::uint8_t length, confd_vtype type = C_IPV4PREFIX)
{
    confd_tag_value_t pair{
        {prefix_leaf, 0 },
        {type,        {}}
    };
    pair.v.val.ipv4prefix = {{inet_addr(address)}, length};
    return pair;
}

void deliver(const char *what, std::vector<confd_tag_value_t> pairs)
{
    fakes::record(what);
    tarvo_config_dhcp_pool(nullptr, 3, 0, nullptr, static_cast<std::uint16_t>(pairs.size()), pairs.data());
    fakes::record("file:\n" + fakes::read_file("/etc/dnsmasq/conf/dynamic.conf"));
}

TEST(DhcpPool, IsAppliedStepByStepAndKeepsWhatAChangeDoesNotName)
{
    tollan_ctx ctx{};
    TarvoDaemon daemon{};
    daemon.tollan_ctx = &ctx;
    g_tarvod_p = &daemon;
    fakes::write_file("/etc/dnsmasq/conf/dynamic.conf", std::string(500, 'x'));
    deliver("== a prefix, a lease of one day and a container's end",
            {prefix("10.0.23.0", 24), pair_of(days, C_UINT16, 1), pair_of(7, C_XMLEND, 0)});
    _router_standalone_mode = 1;
    strcpy(ipsec_tunnel_corp_dns, "172.16.100.200,text");
    deliver("== standalone router, second DNS server: a prefix of another type, hours and minutes",
            {prefix("192.168.4.16", 28, C_IPV4), pair_of(hours, C_UINT8, 23), pair_of(minutes, C_UINT8, 59)});
    std::filesystem::remove_all("/etc/dnsmasq/conf");
    deliver("== another prefix and nowhere to write", {prefix("192.168.4.16", 30)});
    fakes::record("== the default");
    initialize_dft_dhcp_config();
    std::string text;
    for (const std::string &event : fakes::taken()) {
        if (event.starts_with("debug: log_system_call")) continue;
        text += event.substr(0, event.starts_with("notification ") ? 12 : std::string::npos) + "\n";
    }
    EXPECT_EQ(text, fakes::read_file(GW_DATA_DIR "dhcp_pool.txt"));
}

TEST(DhcpPool, DerivesAddressesFromThePrefix)
{
    // clang-format off
    const std::tuple<const char *, std::uint8_t, std::string> cases[] = {
        {"10.0.23.0", 24, "255.255.255.0 10.0.23.1 10.0.23.2 10.0.23.3 10.0.23.254 10.0.23.255 252"},
        {"10.0.23.64", 27, "255.255.255.224 10.0.23.65 10.0.23.66 10.0.23.67 10.0.23.94 10.0.23.95 28"},
        {"10.0.23.0", 30, "255.255.255.252 10.0.23.1 10.0.23.2 10.0.23.3 10.0.23.2 10.0.23.3 0"},
        {"10.0.23.5", 24, "255.255.255.0 10.0.23.5 10.0.23.7 10.0.23.7 10.0.23.254 10.0.23.255 248"},
        {"0.0.0.0", 0, "0.0.0.0 0.0.0.1 0.0.0.2 0.0.0.3 255.255.255.254 255.255.255.255 -4"},
        {"10.0.23.4", 32, "255.255.255.255 10.0.23.5 10.0.23.6 10.0.23.7 10.0.23.4 10.0.23.4 -2"},
    };
    // clang-format on
    for (const auto &[address, length, derived] : cases) {
        DhcpPoolConf p{};
        p.prefix = prefix(address, length).v.val.ipv4prefix;
        derive_pool_addresses(p);
        std::string found;
        for (const in_addr each : {netmask_of(length), p.router, p.host, p.range.low, p.range.high, p.broadcast})
            found += dotted(each).text + std::string(" ");
        EXPECT_EQ(found + std::to_string(addr_range_size(&p.range)), derived);
    }
    EXPECT_EQ(addr_range_size(nullptr), -1);
    EXPECT_EQ(calc_dhcp_addr_range(nullptr).high.s_addr, 0U);
}

TEST(DhcpPool, RefusesWhatItCannotUse)
{
    const std::string length = "refused: Invalid prefix length, needs to be between 24 and 30";
    const std::string rules = "refused: There are existing PAT rules and the rules need to be modified";
    // clang-format off
    const std::tuple<confd_tag_value_t, int, int, std::string> cases[] = {
        {prefix("10.0.0.0", 23), 1, CONFD_ERR, length}, {prefix("10.0.0.0", 31), 0, CONFD_ERR, length},
        {prefix("10.0.0.0", 24), 0, CONFD_OK, ""}, {prefix("10.0.0.0", 30), 1, CONFD_VALIDATION_WARN, rules},
        {prefix("10.0.0.0", 24, C_IPV4), 1, CONFD_ERR, ""}};
    const std::tuple<std::uint32_t, confd_vtype, std::string> leases[] = {
        {days, C_UINT8, "16"}, {hours, C_UINT16, "8"}, {minutes, C_UINT16, "8"}};
    // clang-format on
    for (auto [pair, count, result, text] : cases) {
        mappings = count;
        EXPECT_EQ(tarvo_validate_dhcp_subnet_prefix(nullptr, nullptr, &pair.v), result);
        const std::string type = "debug: tarvo_validate_dhcp_subnet_prefix[#]: type:" + std::to_string(pair.v.type);
        EXPECT_EQ(fakes::taken(), text.empty() ? fakes::Events{type} : (fakes::Events{type, text}));
    }
    for (const auto &[tag, type, due] : leases) {
        EXPECT_EXIT((dup2(STDERR_FILENO, STDOUT_FILENO), deliver("", {pair_of(tag, type, 1)})),
                    testing::KilledBySignal(SIGABRT),
                    "dhcp_config:[0-9]+: failed assertion `\\(&cur_val_p->v\\)->type == C_UINT" + due + "'");
    }
}

} // namespace
