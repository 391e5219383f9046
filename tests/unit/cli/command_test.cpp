#include <gtest/gtest.h>

#include "cli/command.h"
#include "cli/complete.h"
#include "cli/handlers.h"
#include "cli/help.h"
#include "cli/words.h"

namespace {

TEST(CommandTable, ReachesEveryRowByItsNameAndShowsItInTheHelp)
{
    for (const cli::Command &row : cli::commands()) {
        EXPECT_EQ(row.view != nullptr, row.run == cli::show_view || row.run == cli::watch_view) << cli::name_of(row);
        proto::Words name;
        for (const char *word : row.name)
            if (word != nullptr) name.emplace_back(word);
        for (const unsigned mode : {cli::in_operation, cli::in_configure}) {
            if ((row.modes & mode) == 0) continue;
            EXPECT_EQ(cli::look_up(mode, name).command, &row) << cli::name_of(row);
            EXPECT_NE(cli::command_list(mode, name).find(row.help), std::string::npos) << cli::name_of(row);
        }
    }
}

TEST(CommandTable, TakesWordsThatAreCutAndSaysWhatElseItWouldTake)
{
    const struct {
        unsigned mode;
        proto::Words words;
        const char *found; // name and number of words, or what is wrong
    } rows[] = {
        {cli::in_operation, {"sh", "conf", "interface"}, "show configuration/2"                                },
        {cli::in_operation, {"sh", "int", "b"},          "show interface brief/3"                              },
        {cli::in_operation, {"sh", "ip", "d", "p"},      "show ip dhcp pool/4"                                 },
        {cli::in_configure, {"rollback", "3"},           "rollback/1"                                          },
        {cli::in_configure, {"show", "interface"},       "show/1"                                              },
        {cli::in_configure, {"di"},                      "ambiguous word 'di'; may be diff or discard"         },
        {cli::in_operation, {"sh", "ip", "x"},           "unknown word 'x' after 'sh ip'; expected dhcp or nat"},
        {cli::in_configure, {"rollback", "list", "1"},   "rollback list/2"                                     },
    };
    for (const auto &row : rows) {
        const cli::Lookup found = cli::look_up(row.mode, row.words);
        EXPECT_EQ(found.command == nullptr ? found.why
                                           : cli::name_of(*found.command) + "/" + std::to_string(found.used),
                  row.found);
    }
}

std::string offered(cli::Cli *session, const std::string &line)
{
    const cli::Completion completion = cli::complete_line(session, line);
    std::string words;
    for (const proto::Candidate &one : completion.list)
        words += (words.empty() ? "" : " ") + (one.word.empty() ? "<" + one.help + ">" : one.word);
    return words + " [" + cli::insertion(completion) + "]";
}

TEST(Completion, WithoutAnAgentComesFromTheTable)
{
    const struct {
        unsigned mode;
        const char *line;
        const char *offered;
    } rows[] = {
        {cli::in_operation, "sh i",                          "interface ip []"         },
        {cli::in_operation, "sh int ",                       "brief detail table []"   },
        {cli::in_operation, "watch notifications t",         "traps [traps ]"          },
        {cli::in_operation, "show conf --d",                 "--defaults [--defaults ]"},
        {cli::in_operation, "show nothing ",                 " []"                     },
        {cli::in_operation, "show configuration interface ", " []"                     },
        {cli::in_configure, "commit confirmed ",             "<SECONDS> []"            },
        {cli::in_configure, "commit confirmed 60 ",          "confirmed comment [co]"  },
        {cli::in_configure, "rollback ",                     "list [list ]"            },
        {cli::in_configure, "set x --j",                     " []"                     },
    };
    cli::Cli session;
    session.link.port = 1; // nobody listens there
    for (const auto &row : rows) {
        session.mode = row.mode;
        EXPECT_EQ(offered(&session, row.line), row.offered) << row.line;
    }
}

TEST(Completion, QuotesWhatItInserts)
{
    cli::Completion completion{cli::split_typed("set d LA"), {{"LAN port", ""}}};
    EXPECT_EQ(cli::insertion(completion), "\"LAN port\" ");
    completion.list.push_back({"LAN portal", ""});
    EXPECT_EQ(cli::insertion(completion), "\"LAN port");
    completion.list = {
        {"Laß", ""},
        {"Laä", ""}
    }; // both begin with the same byte of the last letter
    EXPECT_EQ(cli::insertion({cli::split_typed("set d L"), completion.list}), "La");
    const std::vector<proto::Candidate> listed = {
        {"",    "an address"},
        {"a b", "x"         }
    };
    EXPECT_EQ(cli::candidate_list({{}, listed}), "  <value>  an address\n  \"a b\"    x\n");
}

TEST(Options, AreTakenOutWhereverTheyStand)
{
    cli::Options options;
    proto::Words rest;
    std::string why;
    const cli::Typed typed = cli::split_typed("show --json --count=3 \"--set\" -- --port ");
    EXPECT_TRUE(cli::take_options(typed.words, 0, &options, &rest, &why));
    EXPECT_EQ(rest, (proto::Words{"show", "--set", "--port"}));
    EXPECT_EQ(options.given, cli::opt_json | cli::opt_count);
    EXPECT_EQ(options.count, 3U);
}

TEST(Words, AreSplitAsTheyWereQuoted)
{
    const struct {
        const char *line;
        proto::Words words;
    } rows[] = {
        {"  \t ",                    {}                        },
        {"  # set a b",              {}                        },
        {" set\ta  #b \r\n",         {"set", "a", "#b"}        },
        {"set d LAN\\ port\\\\",     {"set", "d", "LAN port\\"}},
        {"set d \"a \\\"b\\\" c\"x", {"set", "d", "a \"b\" cx"}},
        {"set d \"\"",               {"set", "d", ""}          },
    };
    std::vector<cli::Word> words;
    std::string why;
    for (const auto &row : rows) {
        EXPECT_TRUE(cli::split_line(row.line, &words, &why)) << row.line;
        EXPECT_EQ(cli::texts_of(words), row.words) << row.line;
    }
    for (const std::string text : {"0/0", "", "two words", "a\"b\\c", "#1", "why?", "tab\there", "ä ö"}) {
        EXPECT_TRUE(cli::split_line("x " + cli::quote_word(text), &words, &why)) << text;
        EXPECT_EQ(cli::texts_of(words, 1), proto::Words{text});
    }
}

} // namespace
