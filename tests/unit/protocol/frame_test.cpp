#include <gtest/gtest.h>

#include "protocol/frame.h"
#include "protocol/wire.h"

namespace proto {
namespace {

std::string bytes(std::initializer_list<int> list)
{
    std::string out;
    for (const int b : list)
        out.push_back(static_cast<char>(b));
    return out;
}

TEST(Frame, LayoutIsFixed)
{
    EXPECT_EQ(make_frame(Op::get, 0x01020304, "ab"), bytes({0, 0, 0, 7, 16, 1, 2, 3, 4, 'a', 'b'}));
}

TEST(Frame, ComesOutOfAStreamCutAnywhere)
{
    const std::string stream = make_frame(Op::hello, 1, "first") + make_frame(Op::reply, 2, "");
    Frame frame;
    std::size_t used = 0;
    const std::size_t first = length_bytes + header_bytes + 5;
    for (std::size_t n = 0; n < first; n++)
        EXPECT_EQ(next_frame(std::string_view(stream).substr(0, n), &frame, &used), Parse::incomplete) << n;
    ASSERT_EQ(next_frame(stream, &frame, &used), Parse::complete);
    EXPECT_EQ(frame.payload, "first");
    ASSERT_EQ(next_frame(std::string_view(stream).substr(used), &frame, &used), Parse::complete);
    EXPECT_EQ(frame.op, Op::reply);
    EXPECT_EQ(frame.id, 2U);
    EXPECT_TRUE(frame.payload.empty());
}

TEST(Frame, WhatCannotBeTrustedIsMalformedBeforeItsPayloadCame)
{
    Frame frame;
    std::size_t used = 0;
    EXPECT_EQ(next_frame(bytes({0, 0, 0, 4}), &frame, &used), Parse::malformed) << "too short for a header";
    EXPECT_EQ(next_frame(bytes({0, 0x20, 0, 0}), &frame, &used), Parse::malformed) << "2 MiB";
    EXPECT_EQ(next_frame(bytes({0, 0x10, 0, 1}), &frame, &used), Parse::malformed) << "one above the cap";
    EXPECT_EQ(next_frame(bytes({0, 0x10, 0, 0}), &frame, &used), Parse::incomplete) << "exactly the cap";
    EXPECT_EQ(next_frame(bytes({0, 0, 0, 5, 2}), &frame, &used), Parse::malformed) << "no such operation";
    EXPECT_EQ(next_frame("GET / HTTP/1.1\r\n", &frame, &used), Parse::malformed);
}

TEST(Wire, AReaderStaysBad)
{
    const std::string three = bytes({0, 0, 1});
    Reader r = make_reader(three);
    EXPECT_EQ(get_u32(r), 0U);
    EXPECT_EQ(get_u8(r), 0U) << "would have been there";
    EXPECT_FALSE(at_end(r));
}

TEST(Wire, CountsAndLengthsBeyondTheBytesAllocateNothing)
{
    const std::string huge = bytes({0xff, 0xff, 0xff, 0xff});
    Reader text = make_reader(huge);
    EXPECT_TRUE(get_text(text).empty());
    EXPECT_FALSE(text.ok);
    Reader list = make_reader(huge);
    EXPECT_TRUE(get_list<Value>(list, get_value).empty());
    EXPECT_FALSE(list.ok);
}

} // namespace
} // namespace proto
