#include <gtest/gtest.h>

#include "protocol/application.h"
#include "protocol/client.h"
#include "protocol/data.h"
#include "protocol/hello.h"

namespace proto {
namespace {

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
    const KeyPath path = {
        {false, 7, 8, {}   },
        {true,  0, 0, {key}}
    };
    expect_exact(Hello{1, Role::snmp, "n", 42});
    expect_exact(Error{ErrorCode::too_big, "/a", "why"});
    expect_exact(Get{
        Source::operational, true, {"interface", "0/0"}
    });
    expect_exact(Tree{
        {{NodeKind::item, true, true, ValueType::uint64, "n", "1"},
         {NodeKind::end, false, false, ValueType::noexists, "", ""}}
    });
    expect_exact(Commit{600, "why", {{"/p", "t"}}});
    expect_exact(CommitReply{Outcome::needs_acceptance, 7, {{"/p", "t"}}});
    expect_exact(Rollbacks{{{1, 2, -3, "c"}}});
    expect_exact(Event{watch_traps, 1, "t", {{"a", "b"}}});
    expect_exact(CdbSet{"/led/status/lan", make_number(ValueType::int32, 1)});
    expect_exact(CdbStart{Database::operational, 5});
    expect_exact(Register{"tarvod", 1, 2, 3, {{"interface", 4, 1, 0x16, 0x10}}, {"v"}, {"a"}, {{"c", 6}}});
    expect_exact(Deliver{9, 1, 2, 3, 2, {key}, {{1, 2, make_tag(ValueType::xmlbegin, 1, 2)}}});
    expect_exact(CallData{"cp", DataCall::find_next_object, path, -1, {key}});
    expect_exact(DataReply{DataKind::next_object, key, 4, {key}, {{1, 0, key}}, "t"});
}

TEST(Messages, NumbersThatNoEnumerationHasAreMalformed)
{
    const auto reads_with = [](auto record, std::size_t at, char number) {
        std::string payload = encode(record);
        payload[at] = number;
        return decode(payload, &record);
    };
    EXPECT_FALSE(reads_with(Hello{1, Role::client, "", 0}, 2, 9));
    EXPECT_FALSE(reads_with(CdbStart{}, 0, 2));
    EXPECT_FALSE(reads_with(Tree{{TreeNode{}}}, 4 + 3, 99)) << "the value type of the first node";
}

} // namespace
} // namespace proto
