// What each change and validation reads, logs and runs is compared with the transcripts in tests/data/config.
#include <gtest/gtest.h>

#include "config/snmp_settings.h"
#include "config/tarvo_config.h"
#include "core/base/globals.h"
#include "core/base/tag_values.h"
#include "fakes/platform.h"
#include "fakes/transcript.h"

namespace {

using namespace fakes;

enum : std::uint32_t { ip_tag = 0x61fa2cdb, mask_tag = 0x4591c4f1, v4_tag = 0x1089ff91, media_tag = 0x5c4c4bb4 };

confd_tag_value_t address(std::uint32_t tag, const char *text)
{
    return tag_value(tag, ipv4_value(text));
}

void gigabit(std::vector<confd_tag_value_t> pairs, int op = MOP_MODIFIED, const char *key = "0/0")
{
    confd_value_t keys[] = {fakes::text_value(key)};
    tollan_change_ctx ctx{};
    std::string said = "== " + std::to_string(op) + " " + key;
    for (const confd_tag_value_t &pair : pairs)
        said += " " + fakes::shown(fakes::tag(pair.tag.tag)) + " " + fakes::shown(pair.v);
    record(said);
    const auto count = static_cast<std::uint16_t>(pairs.size());
    EXPECT_EQ(tarvo_config_gigabitethernet(&ctx, op, 1, keys, count, pairs.data()), 0);
    record("media " + std::to_string(g_gig_media_type));
}

void validate(const char *what, int (*validator)(confd_trans_ctx *, confd_hkeypath_t *, confd_value_t *),
              confd_value_t value = {})
{
    record(std::string("== ") + what + " " + fakes::shown(value));
    record("result " + std::to_string(validator(nullptr, nullptr, &value)));
}

const std::string entry = "/interface/GigabitEthernet{\"0/0\"}/ip/address/v4/";

struct Config : testing::Test {
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
    const auto ip = address(ip_tag, "10.1.1.1");
    outcomes.stored[entry + "mask"] = ipv4_value("255.255.255.0");
    outcomes.stored[entry + "ip"] = ipv4_value("10.9.9.9");
    gigabit({fakes::pair(v4_tag, C_XMLBEGIN), address(ip_tag, "10.0.0.1"), address(mask_tag, "255.255.0.0")});
    gigabit({ip});
    gigabit({address(mask_tag, "255.255.255.252")});
    for (const char *mask : {"0.0.0.0", "255.255.255.254"})
        gigabit({ip, address(mask_tag, mask)});
    gigabit({fakes::pair(ip_tag, C_IPV6, 0x80fe), address(mask_tag, "255.0.0.0")});
    gigabit({fakes::pair(ip_tag, C_XMLBEGIN), fakes::pair(mask_tag, C_BUF), fakes::pair(1, C_IPV4)});
    gigabit({});
    for (const unsigned media : {0, 2, 1})
        gigabit({fakes::pair(media_tag, C_ENUM_VALUE, media)});
    g_gig_media_type = 0;
    gigabit({fakes::pair(media_tag, C_INT32)});
    outcomes.stored.clear();
    gigabit({ip}, MOP_CREATED);
    gigabit({address(mask_tag, "255.0.0.0"), fakes::pair(v4_tag, C_XMLEND)});
    gigabit({ip, address(mask_tag, "255.0.0.0")}, MOP_DELETED, "1/0");
    record("== the whole entry");
    confd_value_t keys[] = {fakes::text_value("0/1")};
    for (const int op : {MOP_DELETED, MOP_MODIFIED})
        EXPECT_EQ(tarvo_config_interface(nullptr, op, 1, keys, 0, nullptr), 0);
    fakes::expect_recorded("config/lan_address.txt");
}

TEST_F(Config, Validates)
{
    for (const int found : {0, 1, 2}) {
        outcomes.link_check = found;
        validate("interface", tarvo_validate_interface, fakes::text_value("0/0"));
    }
    for (const char *mask :
         {"255.255.255.0", "128.0.0.0", "255.255.255.255", "0.0.0.0", "255.0.255.0", "127.255.255.255"})
        validate("mask", tarvo_validate_netmask, ipv4_value(mask));
    validate("type", tarvo_validate_interface_type);
    validate("disabled", tarvo_validate_passthrough_feature_disabled);
    passthrough_enabled = 1;
    validate("supported", tarvo_validate_passthrough_feature_supported);
    validate("disabled", tarvo_validate_passthrough_feature_disabled);
    fakes::expect_recorded("config/validation.txt");
}

TEST_F(Config, EndsTheProcessOnAValueOfTheWrongType)
{
    confd_value_t number = fakes::pair(0, C_INT32).v;
    outcomes.stored[entry + "mask"] = number;
    expect_abort([&] { tarvo_config_interface(nullptr, MOP_DELETED, 1, &number, 0, nullptr); },
                 "^tarvo_config:[0-9]+: failed assertion `\\(key_p\\)->type == C_BUF'\n$");
    expect_abort([&] { tarvo_validate_interface(nullptr, nullptr, &number); },
                 "^tarvo_config:.*`\\(new_val_p.*C_BUF'\n$");
    expect_abort([&] { tarvo_validate_netmask(nullptr, nullptr, &number); },
                 "^tarvo_confd:.*`\\(new_val_p.*C_IPV4'\n$");
    expect_abort([] { gigabit({address(ip_tag, "10.1.1.1")}); }, "^tarvo_config:.*`\\(&existing_val.*C_IPV4'\n$");
}

TEST(SnmpSettings, FollowTheFirstSwitchLeaf)
{
    constexpr std::uint32_t disable = 0x1b761457;
    confd_tag_value_t pairs[] = {fakes::pair(1, C_BOOL, 1), fakes::pair(disable, C_BOOL),
                                 fakes::pair(disable, C_BOOL, 1)};
    const auto enabled_by = [&](int first, std::uint16_t count) {
        EXPECT_EQ(tarvo_snmp_settings_cb(nullptr, MOP_MODIFIED, 0, nullptr, count, pairs + first), 0);
        return snmp_enable.load() != 0;
    };
    snmp_enable = 0;
    EXPECT_TRUE(enabled_by(0, 3));
    EXPECT_TRUE(enabled_by(0, 1)) << "a change without the leaf";
    EXPECT_FALSE(enabled_by(2, 1));
}

TEST(SnmpSettings, CountTrapTargets)
{
    // clang-format off
    const struct { int start, op, keys, result, count; } cases[] = {
        {0, MOP_CREATED,   2, 0, 1}, {255, MOP_CREATED, 2, 0, 0}, {2, MOP_DELETED, 2, 0, 1}, {0, MOP_DELETED, 2, 0, 0},
        {2, MOP_VALUE_SET, 2, 0, 2}, {2,   MOP_CREATED, 1, 1, 2}, {2, MOP_DELETED, 0, 1, 2},
    };
    // clang-format on
    for (const auto &c : cases) {
        snmp_trap_enable = static_cast<std::uint8_t>(c.start);
        EXPECT_EQ(tarvo_snmp_trap_target_cb(nullptr, c.op, c.keys, nullptr, 0, nullptr), c.result);
        EXPECT_EQ(snmp_trap_enable, c.count);
    }
}

} // namespace
