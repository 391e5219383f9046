#include <gtest/gtest.h>

#include <cstring>

#include "platform/confd/convert.h"
#include "platform/confd/names.h"

using proto::make_text;
using proto::ValueType;

namespace {

TEST(Values, WhatCannotTravelIsRefused)
{
    confd_value_t inner = {};
    inner.type = C_LIST;
    confd_value_t bad[6] = {};
    const confd_vtype types[] = {C_STR, C_BUF, C_IPV4PREFIX, C_LIST, C_LIST, static_cast<confd_vtype>(1)};
    for (int i = 0; i < 6; i++)
        bad[i].type = types[i];
    bad[1].val.buf.size = 1;
    bad[2].val.ipv4prefix.len = 33;
    bad[3].val.list = {&inner, 1};
    bad[4].val.list.size = 2;
    proto::Value value;
    for (int i = 0; i < 6; i++)
        EXPECT_FALSE(confd::from_c(bad[i], &value)) << "row " << i;
    std::vector<proto::Value> out;
    EXPECT_FALSE(confd::from_c(bad, -1, &out) || confd::from_c(static_cast<confd_value_t *>(nullptr), 1, &out));
}

proto::PathElement element(std::uint32_t tag, std::vector<proto::Value> keys = {})
{
    return {!keys.empty(), tag, 0, std::move(keys)};
}

TEST(Keypath, KeysEndWithAMarkAndTheTextIsCutAndPrintable)
{
    confd::learn_names(std::vector{
        proto::TagName{101, "interface"},
        proto::TagName{102, "Ethernet" }
    });
    confd::Arena arena;
    confd_hkeypath_t path;
    const proto::Value key = make_text(ValueType::buf, "0\n0");
    ASSERT_TRUE(confd::to_c({element(999), element(0, {key, key}), element(102), element(101)}, &arena, &path));
    EXPECT_EQ(path.len, 4);
    EXPECT_EQ(path.v[0][0].val.xmltag.tag, 999U);
    EXPECT_STREQ(reinterpret_cast<const char *>(path.v[1][1].val.buf.ptr), "0\n0");
    EXPECT_EQ(path.v[1][2].type, C_NOEXISTS);
    const std::string whole = "/interface/Ethernet{0\\x0a0 0\\x0a0}/?";
    for (const int size : {64, 5, 1, 0}) {
        char text[64] = "x";
        EXPECT_EQ(confd_pp_kpath(text, size, &path), static_cast<int>(whole.size()));
        EXPECT_EQ(text, size > 0 ? whole.substr(0, static_cast<std::size_t>(size) - 1) : "x");
    }
    EXPECT_TRUE(confd::to_c(proto::KeyPath(CONFD_MAX_DEPTH, element(1)), &arena, &path));
    EXPECT_FALSE(confd::to_c(proto::KeyPath(CONFD_MAX_DEPTH + 1, element(1)), &arena, &path));
    EXPECT_TRUE(confd::to_c({element(0, {CONFD_MAX_KEYS - 1, key})}, &arena, &path));
    EXPECT_FALSE(confd::to_c({element(0, {CONFD_MAX_KEYS, key})}, &arena, &path));
}

TEST(Names, StayValidWhenALaterAgentRenames)
{
    EXPECT_STREQ(confd_hash2str(201), "?");
    confd::learn_names(std::vector{
        proto::TagName{201, "first"}
    });
    const char *before = confd_hash2str(201);
    confd::learn_names(std::vector{
        proto::TagName{201, "second"}
    });
    EXPECT_STREQ(confd_hash2str(201), "second");
    EXPECT_STREQ(before, "first");
}

} // namespace
