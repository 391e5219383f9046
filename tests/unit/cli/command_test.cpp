#include <gtest/gtest.h>

#include <map>

#include "cli/command.h"
#include "cli/complete.h"
#include "cli/handlers.h"
#include "cli/help.h"

namespace {

TEST(CommandTable, ReachesEveryRowByItsNameAndShowsItInTheHelp)
{
    for (const cli::Command &row : cli::commands()) {
        EXPECT_EQ(row.view != nullptr, row.run == cli::show_view) << cli::name_of(row);
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
        {cli::in_operation, {"r", "l"},                  "rollback list/2"                                     },
        {cli::in_configure, {"rollback", "3"},           "rollback/1"                                          },
        {cli::in_configure, {"show", "interface"},       "show/1"                                              },
        {cli::in_configure, {"de", "ip"},                "delete/1"                                            },
        {cli::in_configure, {"di"},                      "ambiguous word 'di'; may be diff or discard"         },
        {cli::in_operation, {"show", "ip"},              "incomplete command 'show ip'; expected dhcp or nat"  },
        {cli::in_operation, {"sh", "ip", "x"},           "unknown word 'x' after 'sh ip'; expected dhcp or nat"},
        {cli::in_operation,
         {"commit"},
         "unknown command 'commit'; expected show, clear, watch, configure, rollback, "
         "load, help, exit or quit"                                                                            },
        {cli::in_operation,
         {""},
         "unknown command ''; expected show, clear, watch, configure, rollback, load, help, "
         "exit or quit"                                                                                        },
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
    cli::Cli session;
    session.link.port = 1; // nobody listens there
    const std::map<std::string, std::string> rows = {
        {"w",                             "watch [watch ]"          },
        {"sh i",                          "interface ip []"         },
        {"sh int ",                       "brief detail table []"   },
        {"watch notifications t",         "traps [traps ]"          },
        {"help sh st",                    "status [status ]"        },
        {"show status --",                "--json [--json ]"        },
        {"show conf --d",                 "--defaults [--defaults ]"},
        {"show nothing ",                 " []"                     },
        {"c",                             "clear configure []"      },
        {"show status ",                  " []"                     },
        {"show configuration interface ", " []"                     },
    };
    for (const auto &[line, words] : rows)
        EXPECT_EQ(offered(&session, line), words) << line;
    session.mode = cli::in_configure;
    EXPECT_EQ(offered(&session, "commit con"), "confirmed [confirmed ]");
    EXPECT_EQ(offered(&session, "commit confirmed "), "<SECONDS> []");
    EXPECT_EQ(offered(&session, "commit confirmed 60 "), "confirmed comment [co]");
    EXPECT_EQ(offered(&session, "rollback "), "list [list ]");
    EXPECT_EQ(offered(&session, "set x --j"), " []");
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
    EXPECT_EQ(cli::candidate_list({
                  {            },
                  { {"", "an address"}, {"a b", "x"}}
    }),
              "  <value>  an address\n  \"a b\"    x\n");
}

TEST(Options, AreTakenOutWhereverTheyStand)
{
    const std::vector<cli::Word> words = {
        {"show",      false},
        {"--json",    false},
        {"--count=3", false},
        {"--set",     true },
        {"--",        false},
        {"--port",    false}
    };
    cli::Options options;
    proto::Words rest;
    std::string why;
    ASSERT_TRUE(cli::take_options(words, 0, &options, &rest, &why));
    EXPECT_EQ(rest, (proto::Words{"show", "--set", "--port"}));
    EXPECT_EQ(options.given, cli::opt_json | cli::opt_count);
    EXPECT_EQ(options.count, 3U);
    const std::map<std::string, std::string> refused = {
        {"--jason",      "unknown option --jason; --help lists them"         },
        {"--json=1",     "--json takes no value"                             },
        {"--count=0",    "--count takes a number from 1, not '0'"            },
        {"--count",      "--count takes a number from 1, not ''"             },
        {"--port=70000", "--port takes a number from 1 to 65535, not '70000'"},
    };
    for (const auto &[word, text] : refused) {
        EXPECT_FALSE(cli::take_options(
            {
                {word, false}
        },
            0, &options, &rest, &why))
            << word;
        EXPECT_EQ(why, text);
    }
}

} // namespace
