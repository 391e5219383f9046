// The interface table and every reader, over real files, devices and a real shell.
#include <filesystem>

#include <gtest/gtest.h>

#include "core/base/globals.h"
#include "fakes/files.h"
#include "show/click_address.h"
#include "show/if_info.h"
#include "show/if_map.h"

namespace {

using fakes::open_descriptors;
using fakes::write_file;

TEST(InterfaceMap, ChecksKeysAndNames)
{
    EXPECT_TRUE(is_valid_if_port("0/1", gw_system_GigabitEthernet) && is_valid_if_port("1/1", gw_system_Cellular));
    for (const char *key : {"1/0", "0/2", "0/", "0/00", "x0/0", "", static_cast<const char *>(nullptr)})
        EXPECT_FALSE(is_valid_if_port(key, gw_system_GigabitEthernet));
    EXPECT_FALSE(is_valid_if_port("0/0", 0x388cc84a));
    EXPECT_TRUE(is_valid_ifname("abcdefghijklmn_"));
    for (const char *name : {"abcdefghijklmn_0", "", "eth0.1", "a;b"})
        EXPECT_FALSE(is_valid_ifname(name));
    EXPECT_TRUE(is_cell_1_0("cell_1_01"));
    EXPECT_FALSE(is_cell_1_0("cell_1_1") || is_cell_1_0("cell_1_"));
}

TEST(InterfaceMap, GivesKeysTheirDevice)
{
    // clang-format off
    const std::pair<const char *, const char *> keys[] = {
        {"0/0", "wired0"}, {"1/0", "cell_1_0"}, {"0", "wired0"}, {"1/x", "cell_1_0"},
        {"0/1", ""}, {"1/1", ""}, {"2/0", ""}, {"-1/0", ""}, {"x", ""}, {"", ""},
    };
    // clang-format on
    for (const auto &[key, expected] : keys) {
        char device[device_name_size] = "unchanged";
        if_port_to_device(key, device);
        EXPECT_STREQ(device, expected) << key;
    }
}

TEST(Readers, AnswerForDevicesThatAreNotThere)
{
    const auto before = open_descriptors();
    std::uint8_t address[6] = {};
    EXPECT_TRUE(is_if_running("absent") == 0 && get_if_hwaddr("absent", address) == 0);
    EXPECT_TRUE(is_if_admin_up("absent") == 1 && get_if_mtu("absent") == -1);
    EXPECT_TRUE(is_if_admin_up(nullptr) == 0 && get_if_mtu(nullptr) == 0);
    EXPECT_EQ(parse_sysfs_number("0x1003\n"), 0x1003);
    EXPECT_TRUE(parse_sysfs_number("017") == 15 && parse_sysfs_number("up\n") == 0);
    EXPECT_EQ(open_descriptors(), before);
}

// Puts a program that prints `lines` behind /sbin/ifconfig.
void print_from_ifconfig(const std::string &lines)
{
    std::filesystem::remove("/sbin/ifconfig");
    write_file("/sbin/ifconfig", "#!/bin/sh\n[ \"$1\" = srcr2 ] && cat <<'END'\n" + lines + "END\n");
    std::filesystem::permissions("/sbin/ifconfig", std::filesystem::perms::owner_all);
}

TEST(Readers, TakeTheLanAddressFromIfconfig)
{
    char ip[16] = "old";
    char mask[16] = "old";
    char small[4] = "old";
    print_from_ifconfig(" inet addr:192.168.100.100  Bcast:192.168.100.255  Mask:255.255.255.192\n");
    EXPECT_EQ(tarvo_read_ip_from_click("wired1_x", ip, mask, nullptr, nullptr), 0);
    EXPECT_STREQ(ip, "192.168.100.100");
    EXPECT_STREQ(mask, "255.255.255.192");
    read_ifconfig_ipaddr(nullptr, small, sizeof small);
    read_ifconfig_ipaddr("srcr2;srcr2", small, sizeof small);
    EXPECT_STREQ(small, "old");
    read_ifconfig_ipaddr("srcr2", small, sizeof small);
    EXPECT_STREQ(small, "192");
    print_from_ifconfig("srcr2 Link encap:Ethernet\n");
    EXPECT_EQ(tarvo_read_ip_from_click("wired0", ip, mask, nullptr, nullptr), 0);
    EXPECT_STREQ(ip, "192.168.100.100") << "nothing was printed";
}

TEST(Readers, TakeTheWanAddressFromTheDataPlane)
{
    const std::string missing = "missing";
    const std::string v6 = "fe80::1\n";
    const std::string long_ip6 = "2001:0db8:0000:0000:0000:0000:0000:0000:0000:0001";
    const std::string cut_ip6 = long_ip6.substr(0, 45);
    // clang-format off
    struct {
        std::string ipaddr, mask, active, ip6addr; // content of the files
        int status, plen;
        const char *ip, *mask_text;
        std::string ip6;
    } const cases[] = {
        {"100.64.1.2\n", "255.255.255.252\n",    "true\n",  v6,  0, 64, "100.64.1.2", "255.255.255.252", "fe80::1"},
        {"100.64.1.2\n", "255.255.255.252\n",    "false\n", v6, -1, 0,  "100.64.1.2", "255.255.255.252", ""},
        {"100.64.1.2\n", "255.255.255.252\n",    "true\n",  "", -1, 0,  "100.64.1.2", "255.255.255.252", ""},
        {"100.64.1.2\n", "",                     "t",       v6, -1, 64, "100.64.1.2", "old",             "fe80::1"},
        {"",             "255.0.0.0\n",          "t",       v6, -1, 64, "old",        "255.0.0.0",       "fe80::1"},
        {"\n",           "1234567890123456 x\n", "t",       long_ip6,  0, 64, "old",        "123456789012345", cut_ip6},
        {missing,        "255.0.0.0\n",          "t",       v6, -1, 0,  "old",        "old",             ""},
        {"100.64.1.2\n", "255.0.0.0\n",          "false",   missing,     -1, 0,  "old",        "old",             ""},
    };
    // clang-format on
    const char *const elements[] = {"integrated_router/wan0_arpq/ipaddr", "integrated_router/wan0_arpq/mask",
                                    "srcr2_ll_nadv_bypass/active", "integrated_router/nds_wan/ip6addr"};
    const auto before = open_descriptors();
    for (const auto &c : cases) {
        std::filesystem::remove_all("/click");
        const char *const *element = elements;
        for (const std::string &text : {c.ipaddr, c.mask, c.active, c.ip6addr}) {
            if (text != missing) write_file(std::string("/click/") + *element, text);
            ++element;
        }
        char ip[16] = "old";
        char mask[16] = "old";
        char ip6[46] = "old";
        std::uint8_t plen = 9;
        EXPECT_EQ(tarvo_read_ip_from_click("cell_1_0", ip, mask, ip6, &plen), c.status);
        EXPECT_STREQ(ip, c.ip);
        EXPECT_STREQ(mask, c.mask_text);
        EXPECT_EQ(ip6, c.ip6);
        EXPECT_EQ(plen, c.plen);
        EXPECT_EQ(tarvo_read_ip_from_click("cell_1_0", ip, mask, nullptr, nullptr), c.status);
        EXPECT_EQ(tarvo_read_ip_from_click("cell_1_1", ip, mask, nullptr, nullptr), 0);
        EXPECT_EQ(std::string(ip) + mask, "0.0.0.00.0.0.0");
    }
    EXPECT_EQ(tarvo_read_ip_from_click(nullptr, nullptr, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(tarvo_read_ip_from_click("srcr2", nullptr, nullptr, nullptr, nullptr), -1);
    EXPECT_EQ(open_descriptors(), before);
}

} // namespace
