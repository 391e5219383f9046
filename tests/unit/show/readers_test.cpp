// The interface table and every reader, over real files, devices and a real shell.
#include <gtest/gtest.h>

#include "fakes/platform.h"
#include "fakes/transcript.h"
#include "show/click_address.h"
#include "show/if_info.h"
#include "show/if_map.h"

using namespace fakes;

TEST(InterfaceMap, ChecksKeysAndNamesAndGivesKeysTheirDevice)
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
    std::string devices;
    for (const char *key : {"0/0", "1/0", "0", "1/x", "0/1", "1/1", "2/0", "-1/0", "x", ""}) {
        char device[device_name_size] = "unchanged";
        if_port_to_device(key, device);
        devices += std::string(device) + "|";
    }
    EXPECT_EQ(devices, "wired0|cell_1_0|wired0|cell_1_0|||||||");
}

TEST(Readers, TakePlainNamesAndNumbersOfAnyBase)
{
    char text[16] = "old", small[4] = "old";
    std::filesystem::remove("/sbin/ifconfig");
    write_file("/sbin/ifconfig", "#!/bin/sh\necho ' inet addr:192.168.100.100  Bcast:192.168.100.255'\n");
    std::filesystem::permissions("/sbin/ifconfig", std::filesystem::perms::owner_all);
    for (const char *name : {"srcr2;srcr2", static_cast<const char *>(nullptr)})
        read_ifconfig_ipaddr(name, text, sizeof text);
    EXPECT_STREQ(text, "old");
    read_ifconfig_ipaddr("srcr2", text, sizeof text);
    read_ifconfig_ipaddr("srcr2", small, sizeof small);
    EXPECT_EQ(std::string(text) + " " + small, "192.168.100.100 192");
    EXPECT_TRUE(parse_sysfs_number("0x1003\n") == 0x1003 && parse_sysfs_number("017") == 15);
    EXPECT_TRUE(parse_sysfs_number("up\n") == 0 && is_if_admin_up(nullptr) == 0 && get_if_mtu(nullptr) == 0);
}

// Records what the reader makes of a device's buffers that hold something older.
static void read_wan(const char *device)
{
    char ip[16] = "old", mask[16] = "old", ip6[46] = "old";
    std::uint8_t plen = 9;
    const int status = tarvo_read_ip_from_click(device, ip, mask, ip6, &plen);
    fakes::record(std::to_string(status) + " " + ip + " " + mask + " " + ip6 + "/" + std::to_string(plen));
    EXPECT_EQ(tarvo_read_ip_from_click(device, ip, mask, nullptr, nullptr), status);
}

TEST(Readers, TakeTheWanAddressFromTheDataPlane)
{
    const char *const elements[] = {"integrated_router/wan0_arpq/ipaddr", "integrated_router/wan0_arpq/mask",
                                    "srcr2_ll_nadv_bypass/active", "integrated_router/nds_wan/ip6addr"};
    const std::string ip = "100.64.1.2\n", mask = "255.255.255.252\n", v6 = "fe80::1\n", missing = "missing";
    const std::string cases[][4] = {
  // what the elements hold
        {ip,      mask,                   "true\n",  v6                                                 },
        {ip,      mask,                   "false\n", v6                                                 },
        {ip,      mask,                   "true\n",  ""                                                 },
        {ip,      "",                     "t",       v6                                                 },
        {"",      mask,                   "t",       v6                                                 },
        {"\n",    "1234567890123456 x\n", "t",       "2001:0db8:0000:0000:0000:0000:0000:0000:0000:0001"},
        {missing, mask,                   "t",       v6                                                 },
        {ip,      mask,                   "false",   missing                                            },
    };
    const auto before = open_descriptors();
    fakes::reset();
    for (const auto &texts : cases) {
        std::filesystem::remove_all("/click");
        for (std::size_t i = 0; i < std::size(elements); i++)
            if (texts[i] != missing) write_file(std::string("/click/") + elements[i], texts[i]);
        fakes::record("== " + texts[0] + texts[1] + texts[2] + texts[3]);
        read_wan("cell_1_0");
        read_wan("cell_1_1");
    }
    EXPECT_EQ(tarvo_read_ip_from_click(nullptr, nullptr, nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(tarvo_read_ip_from_click("srcr2", nullptr, nullptr, nullptr, nullptr), -1);
    EXPECT_EQ(open_descriptors(), before);
    fakes::expect_recorded("show/wan_address.txt");
}
