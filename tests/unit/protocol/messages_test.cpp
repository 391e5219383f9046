#include <gtest/gtest.h>

#include "protocol/application.h"
#include "protocol/client.h"
#include "protocol/data.h"
#include "protocol/frame.h"
#include "protocol/hello.h"
#include "protocol/wire.h"

namespace proto {
namespace {

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

// Encodes, decodes and encodes again: the same bytes. Each cut and each extra byte must be refused.
template <typename Record> void expect_exact(const Record &record)
{
    const std::string payload = encode(record);
    Record back;
    ASSERT_TRUE(decode(payload, &back));
    EXPECT_EQ(encode(back), payload);
    for (std::size_t n = 0; n < payload.size(); n++)
        EXPECT_FALSE(decode(std::string_view(payload).substr(0, n), &back)) << "cut to " << n;
    EXPECT_FALSE(decode(payload + '\0', &back));
}

TEST(Messages, EveryFieldTravels)
{
    const Value key = make_text(ValueType::buf, "0/0");
    expect_exact(Commit{600, "why", {{"/p", "t"}}});
    expect_exact(Event{watch_traps, 1, "t", {{"a", "b"}}});
    expect_exact(Register{"tarvod", 1, 2, 3, {{"interface", 4, 1, 0x16, 0x10}}, {"v"}, {"a"}, {{"c", 6}}});
    expect_exact(Deliver{9, 1, 2, 3, 2, {key}, {{1, 2, make_tag(ValueType::xmlbegin, 1, 2)}}});
    expect_exact(CallData{"cp", DataCall::find_next_object, KeyPath{{true, 7, 8, {key}}}, -1, {key}});
    expect_exact(DataReply{DataKind::next_object, key, 4, {key}, {{1, 0, key}}, "t"});
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
