#include <arpa/inet.h>
#include <csignal>
#include <unistd.h>

#include <gtest/gtest.h>

#include "config/tarvo_config.h"
#include "core/base/globals.h"
#include "fakes/platform.h"
#include "fakes/record.h"

namespace {

using fakes::Events;
using fakes::ipv4_value;
using Pairs = std::vector<confd_tag_value_t>;

enum : std::uint32_t { ip_tag = 0x61fa2cdb, mask_tag = 0x4591c4f1, v4_tag = 0x1089ff91, media_tag = 0x5c4c4bb4 };

confd_tag_value_t typed(std::uint32_t tag, confd_vtype type, std::int32_t number = 0)
{
    confd_tag_value_t pair{};
    pair.tag.tag = tag;
    pair.v.type = type;
    pair.v.val.enumvalue = number;
    return pair;
}

confd_tag_value_t ip(const char *text)
{
    const bool v6 = strchr(text, ':') != nullptr;
    confd_tag_value_t pair = typed(ip_tag, v6 ? C_IPV6 : C_IPV4);
    inet_pton(v6 ? AF_INET6 : AF_INET, text, &pair.v.val);
    return pair;
}

confd_tag_value_t mask(const char *text)
{
    confd_tag_value_t pair = typed(mask_tag, C_IPV4);
    pair.v = ipv4_value(text);
    return pair;
}

Events gigabit(int op, const char *key, Pairs pairs)
{
    confd_value_t keys[] = {fakes::text_value(key)};
    tollan_change_ctx ctx{};
    const auto count = static_cast<std::uint16_t>(pairs.size());
    EXPECT_EQ(tarvo_config_gigabitethernet(&ctx, op, 1, keys, count, pairs.data()), 0);
    return fakes::taken();
}

Events operator+(Events first, const Events &second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}

// The events of setting an address.
Events applied(const std::string &address, const std::string &length, const std::string &hex, const std::string &mask,
               const std::string &device = "wired0")
{
    const std::string command = "/etc/dnsmasq/ip_session.sh 2 0 0 0 " + address + " " + mask;
    return {"info: Changing the interface [" + device + "] IP address to [" + address + "/" + length + "], mask:0x" +
                hex + ", " + mask,
            "info: __tarvo_configure_eth: cmd: " + command, "run: " + command};
}

const std::string entry = "/interface/GigabitEthernet{\"0/0\"}/ip/address/v4/";
const Events restored = applied("192.168.1.1", "24", "ffffff", "255.255.255.0", "srcr2") +
                        Events{"info: Configure srcr2 interface with default parameters\n"};

Events read(const std::string &leaf, const std::string &end = "release")
{
    return {"read: " + entry + leaf, end};
}

Events modified(const std::string &params)
{
    return {"info: tarvo modified op " + params};
}

class Config : public testing::Test {
protected:
    void SetUp() override
    {
        fakes::reset();
        g_logger_p = &g_logger;
        g_gig_media_type = 1;
        passthrough_enabled = 0;
    }
};

TEST_F(Config, AppliesWhatAChangeSaysAboutTheLanAddress)
{
    const auto begin = typed(v4_tag, C_XMLBEGIN);
    const std::string full = "255.255.255.0";
    const Events to_24 = modified("[4] if [wired0] ip [10.1.1.1] [24] [2]") + applied("10.1.1.1", "24", "ffffff", full);
    const Events to_16 = applied("10.0.0.1", "16", "ffff", "255.255.0.0");
    const Events to_30 = applied("10.9.9.9", "30", "fcffffff", "255.255.255.252");
    const Events refused = {"error: Failed to configure interface with params [4] [wired0] [10.1.1.1] [31] [2]"};
    const Events to_v6 = applied("fe80::1", "8", "ff", "255.0.0.0");
    // clang-format off
    const std::pair<Pairs, Events> cases[] = {
        {{begin, ip("10.0.0.1"), mask("255.255.0.0")}, modified("[4] if [wired0] ip [10.0.0.1] [16] [2]") + to_16},
        {{ip("10.1.1.1")},                             read("mask") + to_24},
        {{ip("10.1.1.1"), mask("0.0.0.0")},            read("mask") + to_24},
        {{mask("255.255.255.252")},         read("ip") + modified("[2] if [wired0] ip [10.9.9.9] [30] [2]") + to_30},
        {{ip("10.1.1.1"), mask("255.255.255.254")},    modified("[4] if [wired0] ip [10.1.1.1] [31] [2]") + refused},
        {{ip("fe80::1"), mask("255.0.0.0")},           modified("[4] if [wired0] ip [fe80::1] [8] [10]") + to_v6},
        {{typed(ip_tag, C_XMLBEGIN), typed(mask_tag, C_BUF), typed(1, C_IPV4)}, restored},
        {{typed(media_tag, C_ENUM_VALUE, 0)},                                   restored},
        {{},                                                                    restored},
    };
    // clang-format on
    fakes::outcomes.stored[entry + "mask"] = ipv4_value("255.255.255.0");
    fakes::outcomes.stored[entry + "ip"] = ipv4_value("10.9.9.9");
    for (const auto &[pairs, events] : cases) {
        EXPECT_EQ(gigabit(MOP_MODIFIED, "0/0", pairs), events);
    }
    fakes::outcomes.stored.clear();
    EXPECT_EQ(gigabit(MOP_CREATED, "0/0", {ip("10.1.1.1")}),
              read("mask", "error: Failed to read old netmask: [strerror] [1]: [lasterr]") +
                  modified("[4] if [wired0] ip [10.1.1.1] [0] [2]") + applied("10.1.1.1", "0", "0", "0.0.0.0"));
    EXPECT_EQ(gigabit(MOP_MODIFIED, "0/0", {mask("255.0.0.0"), typed(v4_tag, C_XMLEND)}),
              read("ip", "error: Failed to read old IP address: [strerror] [1]: [lasterr]") +
                  modified("[2] if [wired0] ip [] [8] [0]") + applied("", "8", "ff", "255.0.0.0"));
}

TEST_F(Config, RemembersTheMediaType)
{
    struct {
        confd_vtype type;
        int number, start, result;
    } const cases[] = {
        {C_ENUM_VALUE, 0, 1, 0},
        {C_ENUM_VALUE, 1, 0, 1},
        {C_ENUM_VALUE, 2, 0, 0},
        {C_INT32,      0, 0, 1},
    };
    for (const auto &c : cases) {
        g_gig_media_type = c.start;
        gigabit(MOP_MODIFIED, "0/0", {typed(media_tag, c.type, c.number)});
        EXPECT_EQ(g_gig_media_type, c.result);
    }
}

TEST_F(Config, RestoresTheDefaultWhenTheEntryGoes)
{
    EXPECT_EQ(gigabit(MOP_DELETED, "1/0", {ip("10.1.1.1"), mask("255.0.0.0")}),
              Events{"info: Deleting the interface config [cell_1_0]"} + restored);
    confd_value_t keys[] = {fakes::text_value("0/1")};
    EXPECT_EQ(tarvo_config_interface(nullptr, MOP_DELETED, 1, keys, 0, nullptr), 0);
    EXPECT_EQ(tarvo_config_interface(nullptr, MOP_MODIFIED, 1, keys, 0, nullptr), 0);
    EXPECT_EQ(fakes::taken(), Events{"info: Deleting the interface []"});
}

TEST_F(Config, ValidatesInterfacesByTheDataPlane)
{
    confd_value_t key = fakes::text_value("0/0");
    struct {
        int found, result;
        Events more;
    } const cases[] = {
        {0, 0,  {}                                                                                           },
        {2, -1, {"error: Could not find interface: wired0", "refused: Could not find interface : [ wired0 ]"}},
        {1, -1, {"refused: Error while checking for interface : [ wired0 ]"}                                 },
    };
    for (const auto &c : cases) {
        fakes::outcomes.link_check = c.found;
        EXPECT_EQ(tarvo_validate_interface(nullptr, nullptr, &key), c.result);
        EXPECT_EQ(fakes::taken(), (Events{"debug: Checking interface [ wired0 ]", "check: wired0"} + c.more));
    }
}

TEST_F(Config, ValidatesMasksAndPassthrough)
{
    // clang-format off
    const std::pair<const char *, int> masks[] = {
        {"255.255.255.0", 0}, {"128.0.0.0", 0}, {"255.255.255.254", 0}, {"255.255.255.255", 0},
        {"0.0.0.0", -1}, {"255.0.255.0", -1}, {"0.0.0.1", -1}, {"127.255.255.255", -1},
    };
    // clang-format on
    for (const auto &[text, result] : masks) {
        confd_value_t value = ipv4_value(text);
        EXPECT_EQ(tarvo_validate_netmask(nullptr, nullptr, &value), result) << text;
        const Events refusal = result == 0 ? Events{} : Events{"refused: invalid netmask"};
        EXPECT_EQ(fakes::taken(), Events{"debug: type:15"} + refusal);
    }
    EXPECT_EQ(tarvo_validate_interface_type(nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(tarvo_validate_passthrough_feature_disabled(nullptr, nullptr, nullptr), 0);
    passthrough_enabled = 1;
    EXPECT_EQ(tarvo_validate_passthrough_feature_supported(nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(tarvo_validate_passthrough_feature_disabled(nullptr, nullptr, nullptr), -1);
    EXPECT_EQ(fakes::taken(), Events{"refused: Operation not allowed in passthrough disabled mode"});
}

TEST_F(Config, EndsTheProcessOnAValueOfTheWrongType)
{
    confd_value_t number{};
    number.type = C_INT32;
    fakes::outcomes.stored[entry + "mask"] = number;
    // A pipe as standard output: text that is not flushed is lost.
    const auto expect_abort = [](const std::function<void()> &call, const char *text) {
        EXPECT_EXIT((dup2(STDERR_FILENO, STDOUT_FILENO), call()), testing::KilledBySignal(SIGABRT), text);
    };
    expect_abort([&] { tarvo_config_interface(nullptr, MOP_DELETED, 1, &number, 0, nullptr); },
                 "^tarvo_config:[0-9]+: failed assertion `\\(key_p\\)->type == C_BUF'\n$");
    expect_abort([&] { tarvo_validate_interface(nullptr, nullptr, &number); },
                 "^tarvo_config:[0-9]+: failed assertion `\\(new_val_p\\)->type == C_BUF'\n$");
    expect_abort([&] { tarvo_validate_netmask(nullptr, nullptr, &number); },
                 "^tarvo_confd:[0-9]+: failed assertion `\\(new_val_p\\)->type == C_IPV4'\n$");
    expect_abort([&] { gigabit(MOP_MODIFIED, "0/0", {ip("10.1.1.1")}); },
                 "^tarvo_config:[0-9]+: failed assertion `\\(&existing_val\\)->type == C_IPV4'\n$");
}

} // namespace
