#include <gtest/gtest.h>

#include "core/base/globals.h"
#include "fakes/platform.h"
#include "fakes/transcript.h"
#include "monitor/traps.h"

namespace {

using fakes::Events;

TEST(TrapReader, KeepsWhatItCannotRead)
{
    const std::string none = "none";
    const std::pair<std::string, std::string> files[] = {
        {"100.64.1.2\n",         "255.0.0.0\n"},
        {"1234567890123456 x\n", "\n2\n"      },
        {"",                     "255.0.0.0\n"},
        {"100.64.1.2",           ""           },
        {none,                   "255.0.0.0\n"},
        {"100.64.1.2\n",         none         },
    };
    g_logger_p = nullptr; // which does not silence the reader
    fakes::reset();
    for (const auto &[ipaddr, netmask] : files) {
        std::filesystem::remove_all("/click");
        if (ipaddr != none) fakes::write_file("/click/wan/ipaddr", ipaddr);
        if (netmask != none) fakes::write_file("/click/wan/mask", netmask);
        char ip[16] = "old", mask[16] = "old";
        fakes::record("== " + ipaddr + netmask);
        const int result = tarvo_trap_read_ip_from_click("/click/wan", ip, mask);
        fakes::record(std::to_string(result) + " " + ip + " " + mask);
    }
    fakes::expect_recorded("monitor/wan_address.txt");
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
