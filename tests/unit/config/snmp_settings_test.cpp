#include <gtest/gtest.h>

#include "config/snmp_settings.h"
#include "core/base/globals.h"
#include "fakes/platform.h"

namespace {

TEST(SnmpSettings, FollowTheFirstSwitchLeaf)
{
    constexpr std::uint32_t disable = 0x1b761457;
    confd_tag_value_t pairs[] = {fakes::pair(1, C_BOOL, 1), fakes::pair(disable, C_BOOL),
                                 fakes::pair(disable, C_BOOL, 1)};
    snmp_enable = 0;
    EXPECT_EQ(tarvo_snmp_settings_cb(nullptr, MOP_MODIFIED, 0, nullptr, 3, pairs), 0);
    EXPECT_EQ(snmp_enable, 1);
    EXPECT_EQ(tarvo_snmp_settings_cb(nullptr, MOP_DELETED, 0, nullptr, 1, pairs), 0);
    EXPECT_EQ(snmp_enable, 1) << "a change without the leaf";
    EXPECT_EQ(tarvo_snmp_settings_cb(nullptr, MOP_CREATED, 0, nullptr, 1, pairs + 2), 0);
    EXPECT_EQ(snmp_enable, 0);
}

TEST(SnmpSettings, CountTrapTargets)
{
    // clang-format off
    const struct { int start, op, keys, result, count; } cases[] = {
        {0, MOP_CREATED,  2, 0, 1}, {255, MOP_CREATED,   2, 0, 0}, {2, MOP_DELETED, 2, 0, 1}, {0, MOP_DELETED, 2, 0, 0},
        {2, MOP_MODIFIED, 2, 0, 2}, {2,   MOP_VALUE_SET, 2, 0, 2}, {2, MOP_CREATED, 1, 1, 2}, {2, MOP_DELETED, 0, 1, 2},
    };
    // clang-format on
    for (const auto &c : cases) {
        snmp_trap_enable = static_cast<std::uint8_t>(c.start);
        EXPECT_EQ(tarvo_snmp_trap_target_cb(nullptr, c.op, c.keys, nullptr, 0, nullptr), c.result);
        EXPECT_EQ(snmp_trap_enable, c.count);
    }
}

} // namespace
