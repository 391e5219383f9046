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

TEST(Words, ThatAreNotFinishedAreRefused)
{
    std::vector<cli::Word> words;
    std::string why;
    EXPECT_FALSE(cli::split_line("set d \"LAN port", &words, &why));
    EXPECT_EQ(why, "a quote is left open; close it with \"");
    EXPECT_FALSE(cli::split_line("set d x\\", &words, &why));
    EXPECT_EQ(why, "the line ends in a backslash");
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

TEST(Words, BeingTypedEndInAPartialOne)
{
    const struct {
        const char *line;
        std::size_t words;
        const char *partial;
        std::size_t at;
        bool open_quote;
    } rows[] = {
        {"",               0, "",      0,  false},
        {"sh",             0, "sh",    0,  false},
        {"show ",          1, "",      5,  false},
        {"show  con",      1, "con",   6,  false},
        {"set d \"LAN p",  2, "LAN p", 6,  true },
        {"set d \"LAN\" ", 3, "",      12, false},
    };
    for (const auto &row : rows) {
        const cli::Typed typed = cli::split_typed(row.line);
        EXPECT_EQ(typed.words.size(), row.words) << row.line;
        EXPECT_EQ(typed.partial, row.partial) << row.line;
        EXPECT_EQ(typed.partial_at, row.at) << row.line;
        EXPECT_EQ(typed.open_quote, row.open_quote) << row.line;
    }
}

} // namespace
