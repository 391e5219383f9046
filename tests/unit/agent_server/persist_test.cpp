#include "agent/persist.h"

#include <gtest/gtest.h>

#include "service/text.h"

using agent::Document;

TEST(Trailer, GivesBackWhatWasWrittenUnlessAByteIsMissingOrChanged)
{
    const Document document{
        {7, 1795380077, "one\nline hash=1"},
        "{\"a\": [1, 2]}\n#gw length=3"
    };
    const std::string whole = agent::with_trailer(document);
    Document read;
    std::string why;
    ASSERT_TRUE(agent::split_trailer(whole, &read, &why)) << why;
    EXPECT_EQ(read.text, document.text);
    EXPECT_TRUE(read.stamp.txid == 7 && read.stamp.time == 1795380077 && read.stamp.comment == "one\\x0aline hash=1");
    for (std::size_t i = 0; i < whole.size(); i++) {
        std::string changed = whole;
        changed[i] = static_cast<char>(changed[i] ^ 1);
        EXPECT_FALSE(agent::split_trailer(changed, &read, &why)) << "changed at " << i;
        EXPECT_FALSE(agent::split_trailer(whole.substr(0, i), &read, &why)) << "cut at " << i;
        EXPECT_FALSE(why.empty());
    }
}

TEST(Text, IsCutBetweenCharacters)
{
    const char *const cuts[] = {"", "a", "a", "a\u00e9", "a\u00e9", "a\u00e9", "a\u00e9\u20ac", "a\u00e9\u20ac"};
    for (std::size_t max = 0; max < std::size(cuts); max++)
        EXPECT_EQ(service::cut_text("a\u00e9\u20ac", max), cuts[max]) << max;
}
