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
    confd_value_t bad[5] = {};
    const confd_vtype types[] = {C_STR, C_BUF, C_IPV4PREFIX, C_LIST, static_cast<confd_vtype>(1)};
    for (int i = 0; i < 5; i++)
        bad[i].type = types[i];
    bad[1].val.buf.size = 1;
    bad[2].val.ipv4prefix.len = 33;
    bad[3].val.list = {&inner, 1};
    proto::Value value;
    for (const confd_value_t &one : bad)
        EXPECT_FALSE(confd::from_c(one, &value)) << &one - bad;
    std::vector<proto::Value> out;
    EXPECT_FALSE(confd::from_c(bad, -1, &out) || confd::from_c(static_cast<confd_value_t *>(nullptr), 1, &out));
}

proto::PathElement element(std::uint32_t tag, std::vector<proto::Value> keys = {})
{
    return {!keys.empty(), tag, 0, std::move(keys)};
}

TEST(Keypath, HasALimitAndItsTextIsCutAndPrintable)
{
    confd::learn_names(std::vector{
        proto::TagName{101, "interface"},
        proto::TagName{102, "Ethernet" }
    });
    confd::Arena arena;
    confd_hkeypath_t path;
    const proto::Value key = make_text(ValueType::buf, "0\n0");
    ASSERT_TRUE(confd::to_c({element(999), element(0, {key, key}), element(102), element(101)}, &arena, &path));
    const std::string whole = "/interface/Ethernet{0\\x0a0 0\\x0a0}/?";
    for (const int size : {64, 5, 1, 0}) {
        char text[64] = "x";
        EXPECT_EQ(confd_pp_kpath(text, size, &path), static_cast<int>(whole.size()));
        EXPECT_EQ(text, size > 0 ? whole.substr(0, static_cast<std::size_t>(size) - 1) : "x");
    }
    for (const int more : {0, 1}) {
        EXPECT_EQ(confd::to_c(proto::KeyPath(CONFD_MAX_DEPTH + more, element(1)), &arena, &path), more == 0);
        EXPECT_EQ(confd::to_c({element(0, {CONFD_MAX_KEYS - 1U + more, key})}, &arena, &path), more == 0);
    }
}

TEST(Names, StayValidWhenALaterAgentRenames)
{
    const auto learn = [](const char *name) {
        confd::learn_names(std::vector(1, proto::TagName{201, name}));
        return confd_hash2str(201);
    };
    const char *before = learn("first");
    EXPECT_STREQ(learn("second"), "second");
    EXPECT_STREQ(before, "first");
}

} // namespace
