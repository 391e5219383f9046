#include <gtest/gtest.h>

#include <cstring>

#include "platform/confd/convert.h"
#include "platform/confd/names.h"

using proto::make_number;
using proto::make_tag;
using proto::make_text;
using proto::ValueType;

namespace {

std::vector<proto::Value> one_of_each()
{
    proto::Value list = make_number(ValueType::list, 0);
    list.list = {make_text(ValueType::buf, "one"), make_number(ValueType::uint16, 2)};
    std::vector<proto::Value> all = {
        {},
        make_text(ValueType::str, "text"),
        make_text(ValueType::buf, std::string_view("a\0b", 3)),
        make_text(ValueType::buf, ""),
        make_tag(ValueType::xmltag, 7, 8),
        make_tag(ValueType::xmlbegin, 7, 0),
        make_tag(ValueType::xmlend, 7, 8),
        list,
    };
    for (const auto &[type, text] : std::initializer_list<std::pair<ValueType, const char *>>{
             {ValueType::binary,     "AP8="                 },
             {ValueType::ipv4,       "10.1.2.3"             },
             {ValueType::ipv6,       "2001:db8::9"          },
             {ValueType::ipv4prefix, "10.1.2.0/24"          },
             {ValueType::duration,   "P1Y2M3DT4H5M6.000007S"}
    })
        EXPECT_TRUE(proto::from_text(type, text, &all.emplace_back())) << text;
    for (int number = 0; number <= static_cast<int>(ValueType::duration); number++) {
        std::int64_t limits[2] = {};
        const auto type = static_cast<ValueType>(number);
        if (!proto::is_number(type, &limits[0], &limits[1])) continue;
        for (const std::int64_t limit : limits)
            all.push_back(make_number(type, limit));
    }
    return all;
}

TEST(Values, EveryTypeComesBackAsItWasAndTextIsTerminated)
{
    const std::vector<proto::Value> all = one_of_each();
    confd::Arena arena;
    const std::vector<confd_value_t> values = confd::to_c(all, &arena);
    for (std::size_t i = 0; i < all.size(); i++) {
        proto::Value back;
        EXPECT_TRUE(confd::from_c(values[i], &back)) << i;
        proto::Value expected = all[i];
        if (expected.type == ValueType::str) expected.type = ValueType::buf; // one kind of text for the daemon
        EXPECT_EQ(back, expected) << "value " << i << " of type " << static_cast<int>(all[i].type);
        EXPECT_TRUE(values[i].type != C_BUF || values[i].val.buf.ptr[values[i].val.buf.size] == '\0') << i;
    }
}

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
