#include <gtest/gtest.h>

#include "cli/words.h"

namespace {

TEST(Words, AreSplitAsTheyWereQuoted)
{
    const struct {
        const char *line;
        proto::Words words;
    } rows[] = {
        {"",                         {}                        },
        {"  \t ",                    {}                        },
        {"  # set a b",              {}                        },
        {"set a #b",                 {"set", "a", "#b"}        },
        {" set\ta  b \r\n",          {"set", "a", "b"}         },
        {"set d \"LAN port\"",       {"set", "d", "LAN port"}  },
        {"set d LAN\\ port\\\\",     {"set", "d", "LAN port\\"}},
        {"set d \"a \\\"b\\\" c\"x", {"set", "d", "a \"b\" cx"}},
        {"set d \"\"",               {"set", "d", ""}          },
    };
    for (const auto &row : rows) {
        std::vector<cli::Word> words;
        std::string why;
        EXPECT_TRUE(cli::split_line(row.line, &words, &why)) << row.line;
        EXPECT_EQ(cli::texts_of(words), row.words) << row.line;
    }
}

TEST(Words, ComeBackFromTheirQuotedForm)
{
    for (const std::string text : {"plain", "", "two words", "a\"b\\c", "#1", "why?", "tab\there", "ä ö"}) {
        std::vector<cli::Word> words;
        std::string why;
        ASSERT_TRUE(cli::split_line("x " + cli::quote_word(text), &words, &why)) << text;
        EXPECT_EQ(cli::texts_of(words, 1), proto::Words{text});
    }
    EXPECT_EQ(cli::quote_word("0/0"), "0/0");
}

} // namespace
