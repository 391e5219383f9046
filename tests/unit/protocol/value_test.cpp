#include <gtest/gtest.h>

#include "protocol/value.h"
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
    const std::string too_big{static_cast<char>(ValueType::uint8), 0, 0, 0, 0, 0, 0, 1, 0};
    Reader r = make_reader(too_big);
    get_value(r);
    EXPECT_FALSE(r.ok);

    const auto reads = [](const std::vector<Value> &items) {
        Value outer;
        outer.type = ValueType::list;
        outer.list = items;
        Writer bytes;
        put_value(bytes, outer);
        Reader in = make_reader(bytes);
        return get_value(in) == outer && at_end(in);
    };
    Value inner;
    EXPECT_FALSE(reads({inner})) << "no value";
    inner.type = ValueType::list;
    EXPECT_FALSE(reads({inner})) << "would nest";
    Writer deep;
    for (int i = 0; i < 100000; i++)
        deep += std::string("\x45\0\0\0\1", 5);
    Reader bottomless = make_reader(deep);
    EXPECT_EQ(get_value(bottomless), Value{});
    const Value number = make_number(ValueType::uint8, 1);
    EXPECT_TRUE(reads(std::vector<Value>(max_list_items, number)));
    EXPECT_FALSE(reads(std::vector<Value>(max_list_items + 1, number)));
}

TEST(Value, NamesWithoutABoundTagGetFnv1a)
{
    EXPECT_EQ(tag_of_name(""), 2166136261U & 0x7fffffffU);
    EXPECT_EQ(tag_of_name("a"), 0xe40c292cU & 0x7fffffffU); // published test vectors of FNV-1a, 32 bit
    EXPECT_EQ(tag_of_name("foobar"), 0xbf9cf968U & 0x7fffffffU);
}

TEST(Printable, KeepsTextAndEscapesTheRest)
{
    EXPECT_EQ(printable("plain ~ text"), "plain ~ text");
    EXPECT_EQ(printable("gr\xc3\xbc\xc3\x9f"), "gr\xc3\xbc\xc3\x9f");
    EXPECT_EQ(printable("a\nb\x1b[31m\x7f"), "a\\x0ab\\x1b[31m\\x7f");
    EXPECT_EQ(printable(std::string_view("\0x", 2)), "\\x00x");
    EXPECT_EQ(printable("\xff\xc3"), "\\xff\\xc3");
    EXPECT_EQ(printable("\xc0\x80"), "\\xc0\\x80") << "overlong";
    EXPECT_EQ(printable("\xed\xa0\x80"), "\\xed\\xa0\\x80") << "surrogate";
    EXPECT_EQ(printable("\xc2\x9b"
                        "x"),
              "\\xc2\\x9bx")
        << "C1 control";
}

} // namespace
} // namespace proto
