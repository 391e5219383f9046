// The interface views, the operational table and the IF-MIB rows, over real devices and a real shell: what each request
// does and answers is compared with the transcripts in tests/data/show.
#include <gtest/gtest.h>

#include "core/base/globals.h"
#include "core/base/tag_values.h"
#include "fakes/platform.h"
#include "fakes/transcript.h"
#include "monitor/if_stats.h"
#include "show/if_map.h"
#include "show/tarvo_show.h"
#include "show/tarvo_snmp.h"

namespace {

using namespace fakes;
using fakes::text_value; // rather than the daemon's own
using std::string;

enum : std::uint32_t { lan = gw_system_GigabitEthernet, wan = gw_system_Cellular, brief = 1, detail = 0x3aafcb2e };
const string description = "/gw-system:interface/GigabitEthernet{\"0/0\"}/description";
const string cat_wired0 = "/bin/cat /sys/class/net/wired0/";
const string lan_addresses = " inet addr:10.1.1.1  Bcast:10.1.1.255  Mask:255.255.255.0\n";

void set_link_address(const char *address)
{
    LinkInfo &info = outcomes.links["wired0"];
    snprintf(info.addr, sizeof info.addr, "%s", address);
    info.link_oper = 0xab;
}

// The LAN port is up, the modem is off.
struct Providers : testing::Test {
    static void SetUpTestSuite()
    {
        ASSERT_EQ(system("ip link add wired0 mtu 1400 address 02:11:22:33:44:55 type veth peer name port0 && "
                         "ip link set port0 up && ip link set wired0 up && mv /sbin/ifconfig /tmp && "
                         "ln -s /tmp/print /sbin/ifconfig && echo 'cat /tmp/srcr2' >/tmp/print && chmod +x /tmp/print"),
                  0);
        fakes::write_file("/click/integrated_router/wan0_arpq/ipaddr", "100.64.1.2\n");
        fakes::write_file("/click/integrated_router/wan0_arpq/mask", "255.255.255.252\n");
        fakes::write_file("/click/integrated_router/nds_wan/ip6addr", "2001:db8::1\n");
        fakes::write_file("/click/srcr2_ll_nadv_bypass/active", "true\n");
        g_if_stats[0].current = {4294967297, 2, 3, 4, 5, 6999, 7, 8589934600, 9, 10, 11, 12999};
        g_if_stats[1].current = {101, 102, 103, 104, 105, 106, 107, 108, 109, 110, 111, 112};
    }
    void SetUp() override
    {
        fakes::reset();
        g_logger_p = nullptr;
        set_link_address("0.0.0.0");
        fakes::write_file("/tmp/srcr2", lan_addresses);
        outcomes.outputs[cat_wired0 + "speed"] = "1000";
    }
};

void object(std::uint32_t list, const char *key, std::uint32_t view)
{
    ask(tarvo_show_interface_get_object, {{text_value(key)}, {tag(list)}, {tag(view)}});
}

void leaf(std::uint32_t leaf_tag, const char *name)
{
    const std::vector<confd_value_t> keys = {{}, text_value(name)};
    ask(tarvo_show_rtm_if_get_elem, {{tag(leaf_tag)}, keys});
}

void row_after(std::int32_t index, int keys = 1)
{
    confd_value_t key = int32_value(index);
    ask(tarvo_if_mib_find_next, {{key}}, 5, &key, keys);
}

TEST_F(Providers, AnswerTheViews)
{
    object(lan, "0/0", brief);
    g_gig_media_type = 0;
    object(wan, "1/0", detail);
    g_gig_media_type = 1;
    ASSERT_EQ(system("ip link add cell_1_0 type veth peer name wan0"), 0);
    object(wan, "1/0", brief);
    ASSERT_EQ(system("ip link del cell_1_0"), 0);
    fakes::write_file("/tmp/srcr2", "");
    for (const char *address : {"", "192.168.1", "192.168.1.2", "192.168.1.3", "0.0.0.0", "192.168.1.2\n"}) {
        fakes::record(string("address ") + address);
        set_link_address(address);
        object(lan, "0/0", brief);
    }
    set_link_address("0.0.0.0");
    fakes::write_file("/tmp/srcr2", lan_addresses);
    object(lan, "0/1", detail);
    object(lan, "1/0", brief);
    ask(tarvo_show_interface_get_next, {{tag(lan)}}, -1);
    ask(tarvo_show_interface_get_next, {{tag(wan)}}, 0);
    ask(tarvo_show_interface_get_next, {{tag(1)}}, 1);
    ask(tarvo_show_interface_get_next, {{tag(1)}}, -1);
    outcomes.ready = 0;
    ask(tarvo_show_interface_get_next, {{tag(1)}}, 1);
    object(lan, "0/0", detail);
    outcomes.ready = 1;
    g_logger_p = &g_logger;
    outcomes.stored[description] = text_value("Uplink");
    outcomes.outputs.clear();
    object(lan, "0/0", detail);
    outcomes.reply = -1;
    ask(tarvo_show_interface_get_next, {{tag(wan)}}, -1);
    object(wan, "1/0", brief);
    fakes::expect_recorded("show/views.txt");
}

TEST_F(Providers, AnswerTheTable)
{
    outcomes.outputs[cat_wired0 + "ifindex"] = "17";
    outcomes.outputs[cat_wired0 + "address"] = "02:11:22:33:44:55";
    outcomes.outputs["/bin/cat /sys/bus/usb/devices/usb2/speed"] = "480";
    outcomes.outputs["/usr/bin/uptime -s"] = "2026-01-02 03:04:05";
    for (const std::uint32_t tag :
         {0x18177d15, 0x5b8941a1, 0x5f04ce4d, 0x4b174187, 0x4e669051, 0x022e61d1, 0x2b9fd442, 0x74688fc4, 0x2f7712c5,
          0x68651712, 0x673241f6, 0x3ebf7e06, 0x4b9a2e7f, 0x3e34c8d0, 0x1e87d7fa, 0x233d0e85, 0x05ad6108, 0x19e2c737,
          0x72ab2467, 0x4e3a879f, 0x61fe769b, 0x69d98b2a, 0x385916eb, 0x03524415, 0x416f5de9, 0x1591be0d}) {
        leaf(tag, "GigabitEthernet 0/0");
        leaf(tag, "Cellular 1/0");
    }
    for (const std::uint32_t tag : {0x5b8941a1, 0x5f04ce4d, 0x2b9fd442, 0x673241f6, 0x3ebf7e06, 0x69d98b2a})
        leaf(tag, "other 0/1");
    for (const char *duplex : {"full", "half", "half "}) {
        outcomes.outputs[cat_wired0 + "duplex"] = duplex;
        leaf(0x3ebf7e06, "GigabitEthernet 0/0");
    }
    ASSERT_EQ(system("ip link add cell_1_0 type veth peer name wan0"), 0);
    leaf(0x2b9fd442, "Cellular 1/0");
    ASSERT_EQ(system("ip link del cell_1_0"), 0);
    for (const char *name : {"Cellular 1/1", "x 2147483647/2147483647", "x 0/1"})
        leaf(1, name);
    g_logger_p = &g_logger;
    leaf(0x4e669051, "Cellular 1/0");
    outcomes.ready = 0;
    leaf(0x18177d15, "GigabitEthernet 0/0");
    outcomes.reply = -1;
    for (const long next : {-1L, 0L, 1L, 2L, -2L})
        ask(tarvo_show_rtm_if_get_next, {}, next);
    fakes::expect_recorded("show/table.txt");
}

TEST_F(Providers, AnswerTheMib)
{
    outcomes.ready = 0;
    ask(tarvo_if_mib_get_object, {{int32_value(1)}});
    for (const std::int32_t index : {0, 1, 2, INT32_MAX})
        row_after(index);
    ask(tarvo_if_mib_get_next, {}, 1);
    for (const std::uint32_t leaf : {0x77b93217, 1})
        ask(tarvo_if_mib_get_elem, {{tag(leaf)}});
    g_logger_p = &g_logger;
    outcomes.reply = -1;
    for (const std::int32_t index : {2, 3, 0, INT32_MIN})
        ask(tarvo_if_mib_get_object, {{int32_value(index)}});
    row_after(-1);
    row_after(7, 0);
    ask(tarvo_if_mib_get_next, {}, -1);
    fakes::expect_recorded("show/if_mib.txt");
}

TEST_F(Providers, EndTheProcessOnADescriptionOfAnotherType)
{
    outcomes.stored[description] = int32_value(1);
    EXPECT_DEATH((dup2(2, 1), object(lan, "0/0", brief)), "^tarvo_show:.* `\\(&description\\)->type == C_BUF'\n$");
    EXPECT_DEATH((dup2(2, 1), row_after(0)), "^tarvo_snmp:");
}

} // namespace
