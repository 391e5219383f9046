#include <gtest/gtest.h>

#include <cstring>
#include <limits>

#include "platform/confd/convert.h"
#include "platform/confd/names.h"

using proto::make_number;
using proto::make_tag;
using proto::make_text;
using proto::ValueType;

namespace {

proto::Value with_address(ValueType type, std::initializer_list<std::uint8_t> bytes, std::int64_t number = 0)
{
    proto::Value v = make_number(type, number);
    std::copy(bytes.begin(), bytes.end(), v.address.begin());
    return v;
}

proto::Value list_of(std::vector<proto::Value> items)
{
    proto::Value v;
    v.type = ValueType::list;
    v.list = std::move(items);
    return v;
}

std::vector<proto::Value> one_of_each()
{
    proto::Value duration;
    duration.type = ValueType::duration;
    duration.duration = {1, 2, 3, 4, 5, 6, 7};
    return {
        {},
        make_text(ValueType::str, "text"),
        make_text(ValueType::buf, std::string_view("a\0b", 3)),
        make_text(ValueType::buf, ""),
        make_text(ValueType::binary, std::string_view("\0\xff", 2)),
        make_number(ValueType::int8, -128),
        make_number(ValueType::int16, -32768),
        make_number(ValueType::int32, std::numeric_limits<std::int32_t>::min()),
        make_number(ValueType::int64, std::numeric_limits<std::int64_t>::min()),
        make_number(ValueType::uint8, 255),
        make_number(ValueType::uint16, 65535),
        make_number(ValueType::uint32, std::numeric_limits<std::uint32_t>::max()),
        make_number(ValueType::uint64, -1), // the bit pattern of the largest
        make_number(ValueType::boolean, 1),
        make_number(ValueType::enum_value, -1),
        with_address(ValueType::ipv4, {10, 1, 2, 3}),
        with_address(ValueType::ipv6, {0x20, 1, 0xd, 0xb8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 9}),
        with_address(ValueType::ipv4prefix, {10, 1, 2, 0}, 24),
        make_tag(ValueType::xmltag, 7, 8),
        make_tag(ValueType::xmlbegin, 7, 0),
        make_tag(ValueType::xmlend, 7, 8),
        duration,
        list_of({make_text(ValueType::buf, "one"), make_number(ValueType::uint16, 2)}),
        list_of({}),
    };
}

TEST(Values, EveryTypeComesBackAsItWas)
{
    const std::vector<proto::Value> all = one_of_each();
    confd::Arena arena;
    const std::vector<confd_value_t> values = confd::to_c(all, &arena);
    for (std::size_t i = 0; i < all.size(); i++) {
        proto::Value back;
        EXPECT_TRUE(confd::from_c(values[i], &back)) << i;
        EXPECT_EQ(back, all[i]) << "value " << i << " of type " << static_cast<int>(all[i].type);
    }
}

TEST(Values, TextHasANulAfterItsLastByte)
{
    confd::Arena arena;
    const std::string texts[] = {"", "0/0", std::string(100, 'x')};
    std::vector<confd_value_t> values;
    values.reserve(std::size(texts));
    for (const std::string &text : texts) {
        values.push_back(confd::to_c(make_text(ValueType::buf, text), &arena));
    }
    for (std::size_t i = 0; i < values.size(); i++) { // the arena has grown since the first
        EXPECT_EQ(values[i].val.buf.size, texts[i].size());
        EXPECT_STREQ(reinterpret_cast<const char *>(values[i].val.buf.ptr), texts[i].c_str());
    }
}

TEST(Values, WhatCannotTravelIsRefused)
{
    confd_value_t list_in_list[1] = {};
    list_in_list[0].type = C_LIST;
    confd_value_t bad[6] = {};
    bad[0].type = C_STR;
    bad[1].type = C_BUF;
    bad[1].val.buf.size = 1;
    bad[2].type = C_IPV4PREFIX;
    bad[2].val.ipv4prefix.len = 33;
    bad[3].type = C_LIST;
    bad[3].val.list = {list_in_list, 1};
    bad[4].type = C_LIST;
    bad[4].val.list.size = 2;
    bad[5].type = static_cast<confd_vtype>(1);
    for (const confd_value_t &value : bad) {
        proto::Value out;
        EXPECT_FALSE(confd::from_c(value, &out)) << "row " << &value - bad;
    }
    std::vector<proto::Value> out;
    EXPECT_FALSE(confd::from_c(bad, -1, &out));
    EXPECT_FALSE(confd::from_c(static_cast<confd_value_t *>(nullptr), 1, &out));
    EXPECT_TRUE(confd::from_c(static_cast<confd_value_t *>(nullptr), 0, &out));
}

proto::PathElement tag_element(std::uint32_t tag)
{
    proto::PathElement element;
    element.tag = tag;
    return element;
}

proto::PathElement key_element(std::vector<proto::Value> keys)
{
    proto::PathElement element;
    element.is_keys = true;
    element.keys = std::move(keys);
    return element;
}

TEST(Keypath, KeysStandBeforeTheirListAndEndWithAMark)
{
    confd::Arena arena;
    confd_hkeypath_t path;
    const proto::Value key = make_text(ValueType::buf, "0/0");
    ASSERT_TRUE(confd::to_c({tag_element(3), key_element({key, make_number(ValueType::int32, 5)}), tag_element(1)},
                            &arena, &path));
    EXPECT_EQ(path.len, 3);
    EXPECT_EQ(path.v[0][0].val.xmltag.tag, 3U);
    EXPECT_STREQ(reinterpret_cast<const char *>(path.v[1][0].val.buf.ptr), "0/0");
    EXPECT_EQ(path.v[1][1].val.i32, 5);
    EXPECT_EQ(path.v[1][2].type, C_NOEXISTS);
    EXPECT_EQ(path.v[2][0].type, C_XMLTAG);
}

TEST(Keypath, LimitsOfTheRecord)
{
    confd::Arena arena;
    confd_hkeypath_t path;
    const proto::Value key = make_number(ValueType::int32, 1);
    EXPECT_TRUE(confd::to_c(proto::KeyPath(CONFD_MAX_DEPTH, tag_element(1)), &arena, &path));
    EXPECT_FALSE(confd::to_c(proto::KeyPath(CONFD_MAX_DEPTH + 1, tag_element(1)), &arena, &path));
    EXPECT_TRUE(confd::to_c({key_element({CONFD_MAX_KEYS - 1, key})}, &arena, &path));
    EXPECT_FALSE(confd::to_c({key_element({CONFD_MAX_KEYS, key})}, &arena, &path));
}

TEST(Keypath, TextIsCutAndCarriesNoControlBytes)
{
    confd::learn_names({
        {101, "interface"},
        {102, "Ethernet" }
    });
    confd::Arena arena;
    confd_hkeypath_t path;
    const proto::Value key = make_text(ValueType::buf, "0\n0");
    ASSERT_TRUE(
        confd::to_c({tag_element(999), key_element({key, key}), tag_element(102), tag_element(101)}, &arena, &path));
    char text[64];
    const int length = confd_pp_kpath(text, sizeof text, &path);
    EXPECT_STREQ(text, "/interface/Ethernet{0\\x0a0 0\\x0a0}/?");
    EXPECT_EQ(length, static_cast<int>(std::strlen(text)));
    char small[8] = "xxxxxxx";
    EXPECT_EQ(confd_pp_kpath(small, 5, &path), length);
    EXPECT_STREQ(small, "/int");
    EXPECT_EQ(confd_pp_kpath(small, 0, &path), length);
}

TEST(Names, StayValidWhenALaterAgentRenames)
{
    EXPECT_STREQ(confd_hash2str(201), "?");
    confd::learn_names({
        {201, "first"}
    });
    const char *before = confd_hash2str(201);
    confd::learn_names({
        {201, "second"}
    });
    EXPECT_STREQ(confd_hash2str(201), "second");
    EXPECT_STREQ(before, "first");
}

} // namespace
