#include <gtest/gtest.h>

#include "config/ip_passthrough.h"
#include "core/base/globals.h"
#include "fakes/files.h"
#include "fakes/platform.h"
#include "fakes/record.h"

namespace {

// All events, or commands and waits only, with "; ". What entered the command log is "logged: " instead of "run: ".
std::string happened(bool all)
{
    std::string result;
    for (const std::string &event : fakes::taken()) {
        if (event.starts_with("debug: log_system_call"))
            result.replace(result.rfind("run: "), 3, "logged");
        else if (all || event.starts_with("run: ") || event.starts_with("wait "))
            result += event + "; ";
    }
    return result;
}

std::string change(int enabled, std::uint32_t tag = 0x63481783, confd_vtype type = C_BOOL, bool all = false)
{
    confd_tag_value_t leaf{};
    leaf.tag.tag = tag;
    leaf.v = {type, {.boolean = enabled}};
    EXPECT_EQ(tarvo_config_ip_passthrough(nullptr, 3, 2, nullptr, 1, &leaf), 0);
    return happened(all);
}

// clang-format off
TEST(Passthrough, IsSwitchedWithTheWholeOrderOfCommands)
{
    const std::string lan = "/gw-system:interface/GigabitEthernet{0/0}/ip/address/v4/";
    const std::string wan = "/cellular{1}/details/cellular-", got = "; debug: tarvo_get_cellular_info[#]: info->";
    const std::pair<std::string, const char *> leaves[] = {
        {lan + "ip", "10.0.0.1"}, {lan + "mask", "255.255.0.0"}, {wan + "dns-ipv4", "8.8.8.8"},
        {wan + "ipv4-address", "100.64.1.2"}, {wan + "subnet-mask", "255.255.255.252"},
        {wan + "default-gateway", "100.64.1.1"}};
    const std::string connect = "cdb_connect 2 2130706433:4565 16; ", end = "cdb_end_session; cdb_close; ";
    const std::string said = "debug: tarvo_config_ip_passthrough[#]: ", script = "/etc/dnsmasq/ip_session.sh ";
    const std::string run = "run: " + script, marked = "logged: echo true > /tmp/passthrough; ";
    const std::string kick = "run: kill -s SIGUSR1 `pidof platformd`; ";
    const std::string handed = "1 100.64.1.2 255.255.255.252 100.64.1.1 10.0.0.1 255.255.0.0 8.8.8.8  0; ";
    const std::string applied = "2 0 0 0 10.0.0.1 255.255.255.0; ", standard = "2 0 0 0 192.168.1.1 255.255.255.0; ";
    g_logger_p = &g_logger;
    fakes::reset();
    for (const auto &[path, text] : leaves) fakes::outcomes.stored[path] = fakes::ipv4_value(text);
    EXPECT_EQ(change(1, 0x63481783, C_BOOL, true), connect + "cdb_start_session2 1 5; " + said +
              "num_keys: 2, num_values: 1; " + said + "tagstr:0x63481783, type:17; cdb: " + lan + "ip; cdb: " + lan +
              "mask; " + marked + connect + "cdb_start_session 3; cdb: " + wan + "default-gateway" + got +
              "gateway:100.64.1.1 (16859236); cdb: " + wan + "ipv4-address" + got +
              "ip_addr:100.64.1.2 (33636452); cdb: " + wan + "subnet-mask" + got +
              "netmask:255.255.255.252 (-50331649); cdb: " + wan + "dns-ipv4" + got +
              "dns1:8.8.8.8 (134744072); cdb: " + wan + "sec-dns-ipv4; " + end +
              "info: tarvo_config_ip_passthrough: cmd: " + script + handed + run + handed + "info: Changing the "
              "interface [srcr2] IP address to [10.0.0.1/24], mask:0xffffff, 255.255.255.0; "
              "info: __tarvo_configure_eth: cmd: " +
              script + applied + run + applied + said + "ENABLE IP Passthrough ; " + end + kick);
    EXPECT_EQ(passthrough_enabled, 1);
    EXPECT_EQ(change(0, 0x63481784) + change(0, 0x63481783, C_INT32), kick + kick) << "other pairs change nothing";
    EXPECT_EQ(change(0), "logged: echo 1 > /click/ip_passthru_disable/run; logged: echo false > /tmp/passthrough; "
                         "run: ifconfig wired0 down; wait 5000 ms; run: ifconfig wired0 up; " + kick);
    EXPECT_EQ(passthrough_enabled, 0);
    const int standard_input = dup(0);
    close(0); // the next session's descriptor is 0
    EXPECT_EQ(change(1), marked + run + handed + run + applied + kick);
    dup2(standard_input, 0);
    fakes::outcomes.stored[wan + "ipv4-address"] = fakes::ipv4_value("0.0.0.0");
    EXPECT_EQ(change(1), marked + run + applied + kick) << "no address yet";
    fakes::outcomes.stored.erase(wan + "ipv4-address");
    fakes::outcomes.stored.erase(lan + "mask");
    EXPECT_EQ(change(1), marked + run + "1  255.255.255.252 100.64.1.1 192.168.1.1 255.255.255.0 8.8.8.8  0; " + run +
              standard + kick) << "unknown address, half a LAN";
    passthrough_enabled = 0;
    fakes::outcomes.cdb_connect = -1;
    EXPECT_EQ(change(1), marked + run + standard + kick) << "without the agent";
    EXPECT_EQ(passthrough_enabled, 1);
}

TEST(Passthrough, ServesTheLanAgainOnlyWhileOffAndWithFourRoutes)
{
    const std::pair<const char *, bool> tables[] = {
        {"1\n2\n3\n", false}, {"1\n2\n3\n4\n", true}, {"\n\n\nunended", true}, {"1\n2\n3\n4\n5\n", false}, {"", false}};
    const std::string said = "debug: tarvo_oper_cellular_notification_cb[#]: Callback from CWAN passthrough: ";
    const auto notified = [](std::uint8_t enabled) {
        passthrough_enabled = enabled;
        EXPECT_EQ(tarvo_oper_cellular_notification_cb(nullptr, 3, 0, nullptr, 0, nullptr), 0);
        return happened(true);
    };
    fakes::reset();
    for (const auto &[table, served] : tables) {
        fakes::write_file("/click/routing/route_table/table", table);
        const std::string events = notified(0);
        EXPECT_TRUE(events.starts_with(said + "0 ; wait 1000 ms; " + (served ? "error: set_dnsmasq_conf[#]: " : "")));
        EXPECT_EQ(events.ends_with("/dnsmasq_start; logged: echo 1 > /click/ip_passthru_disable/run; "), served);
        EXPECT_EQ(events.ends_with("wait 1000 ms; "), !served);
        EXPECT_EQ(notified(1), said + "1 ; ");
    }
}
// clang-format on

} // namespace
