#include <gtest/gtest.h>

#include "protocol/client.h"
#include "protocol/data.h"
#include "protocol/frame.h"
#include "protocol/wire.h"

namespace proto {
namespace {

using TextRow = std::pair<ValueType, const char *>;

// clang-format off
// Every one goes text, value, wire, value, text without a change.
const TextRow texts[] = {
    {ValueType::int8, "-128"},  {ValueType::int16, "-32768"},  {ValueType::int32, "-2147483648"},
    {ValueType::uint8, "255"},  {ValueType::uint16, "65535"},  {ValueType::uint32, "4294967295"},
    {ValueType::int64, "-9223372036854775808"},                {ValueType::uint64, "18446744073709551615"},
    {ValueType::ipv4, "10.0.23.1"}, {ValueType::ipv6, "2001:db8::1"}, {ValueType::ipv4prefix, "10.0.23.5/24"},
    {ValueType::buf, "any text / {}\""}, {ValueType::boolean, "true"}, {ValueType::binary, "AP8="},
    {ValueType::duration, "P1Y2M3DT4H5M6.000007S"}, {ValueType::duration, "P1DT2H"}, {ValueType::duration, "PT0S"},
};

const TextRow none_of_its_type[] = {
    {ValueType::uint8, "256"}, {ValueType::uint8, "-1"}, {ValueType::uint16, ""}, {ValueType::int32, "1x"},
    {ValueType::uint64, "-1"}, {ValueType::boolean, "yes"}, {ValueType::ipv4, "10.0.23"}, {ValueType::ipv6, "::g"},
    {ValueType::ipv4prefix, "10.0.0.1/33"}, {ValueType::ipv4prefix, "10.0.0.1"}, {ValueType::binary, "A"},
    {ValueType::duration, "P"}, {ValueType::duration, "P1DT"}, {ValueType::duration, "PT1.S"}, {ValueType::list, "1"},
};
// clang-format on

TEST(Value, TextAndWireKeepIt)
{
    for (const auto &[type, text] : texts) {
        Value v;
        ASSERT_TRUE(from_text(type, text, &v)) << text;
        Writer w;
        put_value(w, v);
        Reader r = make_reader(w);
        EXPECT_TRUE(get_value(r) == v && at_end(r)) << text;
        EXPECT_EQ(to_text(v), text);
        for (std::size_t n = 0; n < w.size(); n++) {
            Reader cut = make_reader(std::string_view(w).substr(0, n));
            EXPECT_TRUE(get_value(cut) == Value{} && !cut.ok) << text << " cut to " << n;
        }
    }
}

TEST(Value, TextThatIsNoneOfTheTypeIsRefused)
{
    for (const auto &[type, text] : none_of_its_type) {
        Value v = make_number(ValueType::uint8, 7);
        EXPECT_FALSE(from_text(type, text, &v)) << text;
        EXPECT_EQ(v, make_number(ValueType::uint8, 7)) << text;
    }
}

TEST(Value, NumbersOutsideTheirTypeAndNestedListsAreMalformed)
{
    Writer deep;
    for (int i = 0; i < 100000; i++)
        deep += std::string("\x45\0\0\0\1", 5);
    for (const Writer &bytes : {
             Writer{static_cast<char>(ValueType::uint8), 0, 0, 0, 0, 0, 0, 1, 0},
             deep
    }) {
        Reader r = make_reader(bytes);
        EXPECT_TRUE(get_value(r) == Value{} && !r.ok);
    }
    const auto reads = [](const std::vector<Value> &items) {
        Value outer;
        outer.type = ValueType::list;
        outer.list = items;
        Writer bytes;
        put_value(bytes, outer);
        Reader in = make_reader(bytes);
        return get_value(in) == outer && at_end(in);
    };
    EXPECT_FALSE(reads({Value{}})) << "no value";
    const Value number = make_number(ValueType::uint8, 1);
    EXPECT_TRUE(reads(std::vector<Value>(max_list_items, number)));
    EXPECT_FALSE(reads(std::vector<Value>(max_list_items + 1, number)));
}

TEST(Printable, KeepsTextAndEscapesTheRest)
{
    const std::pair<std::string, const char *> rows[] = {
        {"gr\xc3\xbc\xc3\x9f", "gr\xc3\xbc\xc3\x9f"   },
        {"a\nb\x1b[31m\x7f",   "a\\x0ab\\x1b[31m\\x7f"},
        {std::string("\0x",    2),                      "\\x00x"},
        {"\xff\xc3",                    "\\xff\\xc3"                                 },
        {"\xc0\x80",                    "\\xc0\\x80"}, // overlong
        {"\xed\xa0\x80",                    "\\xed\\xa0\\x80"                             }, // surrogate
        {"\xc2\x9b",                    "\\xc2\\x9b"    }, // C1 control
    };
    for (const auto &[text, shown] : rows)
        EXPECT_EQ(printable(text), shown);
}

TEST(Frame, WhatCannotBeTrustedIsMalformedBeforeItsPayloadCame)
{
    const auto parse = [](std::string_view start) {
        Frame frame;
        std::size_t used = 0;
        return next_frame(start, &frame, &used);
    };
    EXPECT_EQ(parse({"\0\0\0\4", 4}), Parse::malformed) << "too short for a header";
    EXPECT_EQ(parse({"\0\x10\0\1", 4}), Parse::malformed) << "one above the cap";
    EXPECT_EQ(parse({"\0\x10\0\0", 4}), Parse::incomplete) << "exactly the cap";
    EXPECT_EQ(parse({"\0\0\0\5\2", 5}), Parse::malformed) << "no such operation";
}

TEST(Messages, NumbersAndLengthsThatCannotBeAreMalformed)
{
    const auto reads_with = [](auto record, std::size_t at, char number) {
        std::string payload = encode(record);
        payload[at] = number;
        return decode(payload, &record);
    };
    EXPECT_FALSE(reads_with(CdbStart{}, 0, 2));
    EXPECT_FALSE(reads_with(Tree{{TreeNode{}}}, 4 + 3, 99)) << "the value type of the first node";
    const std::string huge = "\xff\xff\xff\xff";
    Reader list = make_reader(huge);
    EXPECT_TRUE(get_list<Value>(list, get_value).empty() && !list.ok) << "allocates nothing";
}

} // namespace
} // namespace proto
