#include <gtest/gtest.h>

#include "protocol/frame.h"
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

TEST(Wire, CountsAndLengthsBeyondTheBytesAllocateNothing)
{
    const std::string huge = "\xff\xff\xff\xff";
    Reader text = make_reader(huge);
    EXPECT_TRUE(get_text(text).empty());
    EXPECT_FALSE(text.ok);
    Reader list = make_reader(huge);
    EXPECT_TRUE(get_list<Value>(list, get_value).empty());
    EXPECT_FALSE(list.ok);
}

} // namespace
} // namespace proto
