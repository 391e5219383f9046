#include <unistd.h>

#include <gtest/gtest.h>

#include "config/ip_passthrough.h"
#include "core/base/globals.h"
#include "fakes/files.h"
#include "fakes/platform.h"
#include "fakes/record.h"

namespace {

const std::string lan = "/gw-system:interface/GigabitEthernet{0/0}/ip/address/v4/";
const std::string wan = "/cellular{1}/details/cellular-";

// Every event and "; ", or commands and waits only. What entered the command log is "logged: " instead of "run: ".
std::string happened(bool only_commands)
{
    std::string result;
    for (const std::string &event : fakes::taken()) {
        if (event.starts_with("debug: log_system_call")) {
            result.replace(result.rfind("run: "), 3, "logged");
        } else if (!only_commands || event.starts_with("run: ") || event.starts_with("wait ")) {
            result += event + "; ";
        }
    }
    return result;
}

std::string change(int enabled, std::uint32_t tag = 0x63481783, confd_vtype type = C_BOOL, bool only_commands = true)
{
    confd_tag_value_t leaf{};
    leaf.tag.tag = tag;
    leaf.v.type = type;
    leaf.v.val.boolean = enabled;
    EXPECT_EQ(tarvo_config_ip_passthrough(nullptr, 3, 2, nullptr, 1, &leaf), 0);
    return happened(only_commands);
}

const std::string kick = "run: kill -s SIGUSR1 `pidof platformd`; ";
const std::string off = "logged: echo 1 > /click/ip_passthru_disable/run; logged: echo false > /tmp/passthrough; "
                        "run: ifconfig wired0 down; wait 5000 ms; run: ifconfig wired0 up; "
                        "run: kill -s SIGUSR1 `pidof platformd`; ";

// The commands of switching on; `wan_text` is empty when no address is handed through.
std::string on(const std::string &lan_ip, const std::string &lan_mask, const std::string &wan_text)
{
    const std::string script = "run: /etc/dnsmasq/ip_session.sh ";
    return "logged: echo true > /tmp/passthrough; " +
           (wan_text.empty() ? "" : script + "1 " + wan_text + " " + lan_ip + " " + lan_mask + " 8.8.8.8  0; ") +
           script + "2 0 0 0 " + lan_ip + " 255.255.255.0; " + kick;
}

TEST(Passthrough, IsSwitchedWithTheWholeOrderOfCommands)
{
    const std::string wan_text = "100.64.1.2 255.255.255.252 100.64.1.1";
    g_logger_p = &g_logger;
    fakes::reset();
    // clang-format off
    fakes::outcomes.stored = {
        {lan + "ip", fakes::ipv4_value("10.0.0.1")},                {lan + "mask", fakes::ipv4_value("255.255.0.0")},
        {wan + "ipv4-address", fakes::ipv4_value("100.64.1.2")},    {wan + "dns-ipv4", fakes::ipv4_value("8.8.8.8")},
        {wan + "default-gateway", fakes::ipv4_value("100.64.1.1")},
        {wan + "subnet-mask", fakes::ipv4_value("255.255.255.252")},
    };
    const std::string connect = "cdb_connect 2 2130706433:4565 16; ", end = "cdb_end_session; cdb_close; ";
    const std::string said = "debug: tarvo_config_ip_passthrough[#]: ", got = "debug: tarvo_get_cellular_info[#]: info->";
    const std::string script = "/etc/dnsmasq/ip_session.sh 1 " + wan_text + " 10.0.0.1 255.255.0.0 8.8.8.8  0; ";
    const std::string lan_script = "/etc/dnsmasq/ip_session.sh 2 0 0 0 10.0.0.1 255.255.255.0; ";
    EXPECT_EQ(change(1, 0x63481783, C_BOOL, false),
              connect + "cdb_start_session2 1 5; " + said + "num_keys: 2, num_values: 1; " + said +
              "tagstr:0x63481783, type:17; cdb: " + lan + "ip; cdb: " + lan + "mask; "
              "logged: echo true > /tmp/passthrough; " + connect + "cdb_start_session 3; " +
              "cdb: " + wan + "default-gateway; " + got + "gateway:100.64.1.1 (16859236); " +
              "cdb: " + wan + "ipv4-address; " + got + "ip_addr:100.64.1.2 (33636452); " +
              "cdb: " + wan + "subnet-mask; " + got + "netmask:255.255.255.252 (-50331649); " +
              "cdb: " + wan + "dns-ipv4; " + got + "dns1:8.8.8.8 (134744072); cdb: " + wan + "sec-dns-ipv4; " + end +
              "info: tarvo_config_ip_passthrough: cmd: " + script + "run: " + script +
              "info: Changing the interface [srcr2] IP address to [10.0.0.1/24], mask:0xffffff, 255.255.255.0; " +
              "info: __tarvo_configure_eth: cmd: " + lan_script + "run: " + lan_script + said +
              "ENABLE IP Passthrough ; " + end + kick);
    // clang-format on
    EXPECT_EQ(passthrough_enabled, 1);
    EXPECT_EQ(change(1, 0x63481784) + change(1, 0x63481783, C_INT32), kick + kick) << "other pairs change nothing";
    EXPECT_EQ(change(0), off);
    EXPECT_EQ(passthrough_enabled, 0);
    const int standard_input = dup(0);
    close(0); // the next session's descriptor is 0
    EXPECT_EQ(change(1), on("10.0.0.1", "255.255.0.0", wan_text));
    dup2(standard_input, 0);
    close(standard_input);
    fakes::outcomes.stored[wan + "ipv4-address"] = fakes::ipv4_value("0.0.0.0");
    EXPECT_EQ(change(1), on("10.0.0.1", "255.255.0.0", "")) << "no address yet";
    fakes::outcomes.stored.erase(wan + "ipv4-address");
    fakes::outcomes.stored.erase(lan + "mask");
    EXPECT_EQ(change(1), on("192.168.1.1", "255.255.255.0", " 255.255.255.252 100.64.1.1")) << "unknown, half a LAN";
    passthrough_enabled = 0;
    fakes::outcomes.cdb_connect = -1;
    EXPECT_EQ(change(1), on("192.168.1.1", "255.255.255.0", "")) << "without the agent";
    EXPECT_EQ(passthrough_enabled, 1);
}

TEST(Passthrough, ServesTheLanAgainOnlyWhileOffAndWithFourRoutes)
{
    // clang-format off
    const std::pair<const char *, bool> tables[] = {
        {"1\n2\n3\n", false}, {"1\n2\n3\n4\n", true}, {"\n\n\nunended", true}, {"1\n2\n3\n4\n5\n", false}, {"", false}};
    // clang-format on
    const auto notified = [](int enabled) {
        passthrough_enabled = static_cast<std::uint8_t>(enabled);
        EXPECT_EQ(tarvo_oper_cellular_notification_cb(nullptr, 3, 0, nullptr, 0, nullptr), 0);
        return happened(false);
    };
    const std::string said = "debug: tarvo_oper_cellular_notification_cb[#]: Callback from CWAN passthrough: ";
    const std::string served = said + "0 ; wait 1000 ms; error: set_dnsmasq_conf[#]: opening dhcp conf file; ";
    fakes::reset();
    for (const auto &[text, expected] : tables) {
        fakes::write_file("/click/routing/route_table/table", text);
        const std::string events = notified(0);
        EXPECT_EQ(events == said + "0 ; wait 1000 ms; ", !expected) << text;
        EXPECT_EQ(events.starts_with(served) && events.ends_with("logged: echo 1 > /var/log/dns/dnsmasq_start; "
                                                                 "logged: echo 1 > /click/ip_passthru_disable/run; "),
                  expected);
        EXPECT_EQ(notified(1), said + "1 ; ");
    }
}

} // namespace
