// The interface table and every reader, over real files and a real shell; only sockets, their ioctls
// and the place of /sys/class/net are replaced.
#include <cstdarg>
#include <cstring>
#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include "core/base/globals.h"
#include "fakes/files.h"
#include "fakes/platform.h"
#include "fakes/record.h"
#include "show/click_address.h"
#include "show/if_info.h"
#include "show/if_map.h"

namespace {

using fakes::open_descriptors;
using fakes::write_file;

bool no_socket = false;
unsigned long failing_request = 0;
short flags = 0;
std::string asked_name;

} // namespace

extern "C" {

int __real_socket(int domain, int type, int protocol);

int __wrap_socket(int domain, int type, int protocol)
{
    return no_socket ? -1 : __real_socket(domain, type, protocol);
}

FILE *__real_fopen(const char *path, const char *mode);

// The sandbox shows the kernel's /sys/class/net, which takes no files.
FILE *__wrap_fopen(const char *path, const char *mode)
{
    const bool moved = strncmp(path, "/sys/class/net/", 15) == 0;
    return __real_fopen(moved ? (std::string("/tmp") + path).c_str() : path, mode);
}

int __wrap_ioctl(int /*fd*/, unsigned long request, ...)
{
    va_list arguments;
    va_start(arguments, request);
    auto *asked = va_arg(arguments, ifreq *);
    va_end(arguments);
    asked_name = asked->ifr_name;
    if (request == failing_request) return -1;
    if (request == SIOCGIFFLAGS) asked->ifr_flags = flags;
    if (request == SIOCGIFHWADDR) memcpy(asked->ifr_hwaddr.sa_data, "\x02\x11\x22\x33\x44\x55\x66", 7);
    return 0;
}
}

namespace {

// Puts a program that prints `lines` behind /sbin/ifconfig.
void print_from_ifconfig(const std::string &lines)
{
    std::filesystem::remove("/sbin/ifconfig");
    write_file("/sbin/ifconfig", "#!/bin/sh\n[ \"$1\" = srcr2 ] && cat <<'END'\n" + lines + "END\n");
    std::filesystem::permissions("/sbin/ifconfig", std::filesystem::perms::owner_all);
}

TEST(InterfaceMap, ChecksKeysAndNames)
{
    g_logger_p = &g_logger;
    fakes::reset();
    EXPECT_TRUE(is_valid_if_port("0/0", gw_system_GigabitEthernet));
    EXPECT_EQ(fakes::taken(), fakes::Events{"debug: interface port: 0/0, length: 3"});
    EXPECT_TRUE(is_valid_if_port("0/1", gw_system_GigabitEthernet));
    EXPECT_TRUE(is_valid_if_port("1/0", gw_system_Cellular));
    EXPECT_TRUE(is_valid_if_port("1/1", gw_system_Cellular));
    for (const char *key : {"1/0", "2/0", "0/2", "0/", "0/00", "x0/0", "", static_cast<const char *>(nullptr)}) {
        EXPECT_FALSE(is_valid_if_port(key, gw_system_GigabitEthernet));
    }
    EXPECT_FALSE(is_valid_if_port("0/0", gw_system_Cellular));
    EXPECT_FALSE(is_valid_if_port("0/0", 0x388cc84a));
    EXPECT_TRUE(is_valid_ifname("abcdefghijklmn_"));
    for (const char *name : {"abcdefghijklmn_0", "", "eth0.1", "a b", "a;b"}) {
        EXPECT_FALSE(is_valid_ifname(name));
    }
    EXPECT_FALSE(regex_match("(", "("));
    EXPECT_TRUE(is_cell_1_0("cell_1_0") && is_cell_1_0("cell_1_01"));
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
    EXPECT_STREQ(device_display_name("cell_1_1"), "Cellular 1/1");
    EXPECT_EQ(device_display_name("srcr2"), nullptr);
}

TEST(Readers, TakeNumbersFromSysfs)
{
    const std::string device = "/tmp/sys/class/net/cell_1_0";
    EXPECT_EQ(is_if_admin_up("cell_1_0"), 1) << "no such device yet";
    EXPECT_EQ(get_if_mtu("cell_1_0"), -1);
    EXPECT_EQ(is_if_admin_up(nullptr), 0);
    EXPECT_EQ(get_if_mtu(nullptr), 0);
    struct {
        const char *text;
        int admin_up;
        int mtu;
    } const cases[] = {
        {"0x1003\n", 1, 0x1003},
        {"0x1002\n", 0, 0x1002},
        {"1500\n",   0, 1500  },
        {"017",      1, 15    },
        {"",         0, 0     },
        {"up\n",     0, 0     },
    };
    for (const auto &c : cases) {
        write_file(device + "/flags", c.text);
        write_file(device + "/mtu", c.text);
        EXPECT_EQ(is_if_admin_up("cell_1_0"), c.admin_up) << c.text;
        EXPECT_EQ(get_if_mtu("cell_1_0"), c.mtu) << c.text;
    }
}

TEST(Readers, AskTheKernelAndLeaveNoSocket)
{
    const auto before = open_descriptors();
    std::uint8_t address[6] = {};
    flags = IFF_RUNNING;
    EXPECT_EQ(is_if_running("a_name_that_is_too_long"), 1);
    EXPECT_EQ(asked_name, "a_name_that_is_");
    EXPECT_EQ(get_if_hwaddr("wired0", address), 1);
    EXPECT_EQ(memcmp(address, "\x02\x11\x22\x33\x44\x55", 6), 0);
    flags = static_cast<short>(~IFF_RUNNING);
    EXPECT_EQ(is_if_running("wired0"), 0);
    failing_request = SIOCGIFHWADDR;
    EXPECT_EQ(get_if_hwaddr("wired0", address), 0);
    failing_request = SIOCGIFFLAGS;
    flags = IFF_RUNNING;
    EXPECT_EQ(is_if_running("wired0"), 0);
    EXPECT_EQ(get_if_hwaddr("wired0", address), 0);
    failing_request = 0;
    no_socket = true;
    EXPECT_EQ(is_if_running("wired0"), 0);
    EXPECT_EQ(get_if_hwaddr("wired0", address), 0);
    no_socket = false;
    EXPECT_EQ(open_descriptors(), before);
}

TEST(Readers, TakeTheLanAddressFromIfconfig)
{
    char ip[16] = "old";
    char mask[16] = "old";
    print_from_ifconfig("srcr2 Link encap:Ethernet\n inet addr:10.1.1.1  Bcast:10.1.1.255  Mask:255.255.255.0\n");
    EXPECT_EQ(tarvo_read_ip_from_click("wired0_x", ip, mask, nullptr, nullptr), 0);
    EXPECT_STREQ(ip, "10.1.1.1\n");
    EXPECT_STREQ(mask, "255.255.255.0\n");
    print_from_ifconfig(" inet addr:192.168.100.100  Bcast:192.168.100.255  Mask:255.255.255.192\n");
    EXPECT_EQ(tarvo_read_ip_from_click("wired1_x", ip, mask, nullptr, nullptr), 0);
    EXPECT_STREQ(ip, "192.168.100.100");
    EXPECT_STREQ(mask, "255.255.255.192");
    print_from_ifconfig("srcr2 Link encap:Ethernet\n");
    EXPECT_EQ(tarvo_read_ip_from_click("wired0", ip, mask, nullptr, nullptr), 0);
    EXPECT_STREQ(ip, "192.168.100.100") << "nothing was printed";
    char small[4] = "old";
    print_from_ifconfig(" inet addr:10.1.1.1  Bcast:10.1.1.255  Mask:255.255.255.0\n");
    read_ifconfig_ipaddr(nullptr, small, sizeof small);
    read_ifconfig_ipaddr("srcr2;srcr2", small, sizeof small);
    EXPECT_STREQ(small, "old");
    read_ifconfig_ipaddr("srcr2", small, sizeof small);
    EXPECT_STREQ(small, "10.");
}

TEST(Readers, TakeTheWanAddressFromTheDataPlane)
{
    const std::string missing = "missing";
    const std::string long_ip6 = "2001:0db8:0000:0000:0000:0000:0000:0000:0000:0001";
    // clang-format off
    struct {
        std::string ipaddr, mask, active, ip6addr; // content of the files
        int status, plen;
        const char *ip, *mask_text;
        std::string ip6;
    } const cases[] = {
        {"100.64.1.2\n", "255.255.255.252\n",    "true\n",  "fe80::1\n",  0, 64, "100.64.1.2", "255.255.255.252", "fe80::1"},
        {"100.64.1.2\n", "255.255.255.252\n",    "false\n", "fe80::1\n", -1, 0,  "100.64.1.2", "255.255.255.252", ""},
        {"100.64.1.2\n", "255.255.255.252\n",    "",        "fe80::1\n", -1, 0,  "100.64.1.2", "255.255.255.252", ""},
        {"100.64.1.2\n", "255.255.255.252\n",    "true\n",  "",          -1, 0,  "100.64.1.2", "255.255.255.252", ""},
        {"100.64.1.2\n", "",                     "t",       "fe80::1\n", -1, 64, "100.64.1.2", "old",             "fe80::1"},
        {"",             "255.0.0.0\n",          "t",       "fe80::1\n", -1, 64, "old",        "255.0.0.0",       "fe80::1"},
        {"\n",           "1234567890123456 x\n", "t",       long_ip6,     0, 64, "old",        "123456789012345", long_ip6.substr(0, 45)},
        {missing,        "255.0.0.0\n",          "t",       "fe80::1\n", -1, 0,  "old",        "old",             ""},
        {"100.64.1.2\n", "255.0.0.0\n",          missing,   "fe80::1\n", -1, 0,  "old",        "old",             ""},
        {"100.64.1.2\n", "255.0.0.0\n",          "false",   missing,     -1, 0,  "old",        "old",             ""},
    };
    // clang-format on
    const std::string elements[] = {"/click/integrated_router/wan0_arpq/ipaddr",
                                    "/click/integrated_router/wan0_arpq/mask", "/click/srcr2_ll_nadv_bypass/active",
                                    "/click/integrated_router/snds_wan/ip6addr"};
    const auto before = open_descriptors();
    for (const auto &c : cases) {
        std::filesystem::remove_all("/click");
        const std::string *element = elements;
        for (const std::string &text : {c.ipaddr, c.mask, c.active, c.ip6addr}) {
            if (text != missing) write_file(*element, text);
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
    }
    EXPECT_EQ(open_descriptors(), before);
}

TEST(Readers, SayWhatTheyReadFromTheDataPlane)
{
    char ip[16];
    char mask[16];
    std::filesystem::remove_all("/click");
    strcpy(click_routing_prefix, "/click/routing/");
    write_file("/click/routing/wan0_arpq/ipaddr", "100.64.1.2\n");
    write_file("/click/routing/wan0_arpq/mask", "255.0.0.0\n");
    write_file("/click/routing/snds_wan/ip6addr", "fe80::1\n");
    write_file("/click/srcr2_ll_nadv_bypass/active", "true\n");
    const std::string trace = "error: tarvo_read_ip_from_click[#]: ip6addr: fe80::1\n, strlen: 8";
    fakes::reset();
    EXPECT_EQ(tarvo_read_ip_from_click("cell_1_0", ip, mask, nullptr, nullptr), 0);
    EXPECT_EQ(fakes::taken(), (fakes::Events{"debug: ipaddr: 100.64.1.2\n, strlen: 11",
                                             "debug: subnet_mask: 255.0.0.0\n, strlen: 10", trace}));
    g_logger_p = nullptr;
    EXPECT_EQ(tarvo_read_ip_from_click("cell_1_0", ip, mask, nullptr, nullptr), 0);
    EXPECT_EQ(fakes::taken(), fakes::Events{trace});
    EXPECT_EQ(tarvo_read_ip_from_click("cell_1_1", ip, mask, nullptr, nullptr), 0);
    EXPECT_STREQ(ip, "0.0.0.0");
    EXPECT_STREQ(mask, "0.0.0.0");
    EXPECT_EQ(tarvo_read_ip_from_click(nullptr, ip, mask, nullptr, nullptr), 0);
    EXPECT_EQ(tarvo_read_ip_from_click("srcr2", ip, mask, nullptr, nullptr), -1);
}

} // namespace
