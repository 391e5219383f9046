#include <gtest/gtest.h>

#include "core/base/globals.h"
#include "fakes/files.h"
#include "fakes/record.h"
#include "monitor/traps.h"
#include "tollan.h"

namespace {

using fakes::Events;

TEST(TrapReader, KeepsWhatItCannotRead)
{
    const std::string none = "none";
    const Events no_address = {"error: tarvo_trap_read_ip_from_click[#]: IP Address fopen failed\n"};
    const Events no_mask = {"error: tarvo_trap_read_ip_from_click[#]:  Netmask fopen failed\n"};
    const struct {
        std::string ipaddr, mask; // content of the files
        int result;
        std::string ip_and_mask;
        Events events;
    } cases[] = {
        {"100.64.1.2\n",         "255.0.0.0\n", 0,  "100.64.1.2 255.0.0.0", {}        },
        {"1234567890123456 x\n", "\n2\n",       0,  "123456789012345 old",  {}        },
        {"",                     "255.0.0.0\n", -1, "old old",              {}        },
        {"100.64.1.2",           "",            -1, "100.64.1.2 old",       {}        },
        {none,                   "255.0.0.0\n", -1, "old old",              no_address},
        {"100.64.1.2\n",         none,          -1, "old old",              no_mask   },
    };
    g_logger_p = nullptr; // which does not silence the reader
    fakes::taken();
    for (const auto &c : cases) {
        std::filesystem::remove_all("/click");
        if (c.ipaddr != none) fakes::write_file("/click/wan/ipaddr", c.ipaddr);
        if (c.mask != none) fakes::write_file("/click/wan/mask", c.mask);
        char ip[16] = "old";
        char mask[16] = "old";
        EXPECT_EQ(tarvo_trap_read_ip_from_click("/click/wan", ip, mask), c.result);
        EXPECT_EQ(std::string(ip) + " " + mask, c.ip_and_mask);
        EXPECT_EQ(fakes::taken(), c.events);
    }
}

TEST(DhcpConfigChange, IsNotifiedWhileThereIsAModule)
{
    tollan_ctx module{};
    TarvoDaemon daemon{};
    notify_dhcp_config_change();
    g_tarvod_p = &daemon;
    notify_dhcp_config_change();
    daemon.tollan_ctx = &module;
    EXPECT_EQ(fakes::taken(), Events{});
    notify_dhcp_config_change();
    g_tarvod_p = nullptr;
    EXPECT_EQ(fakes::taken(),
              Events{"notification 0x7a433dd3=begin 0x7a433dd3 0x6b64eac0 (ns 0x6b64eac0) 0x18f30f38=enum 2 "
                     "0x7a433dd3=end 0x7a433dd3 0x6b64eac0 (ns 0x6b64eac0)"});
}

} // namespace
