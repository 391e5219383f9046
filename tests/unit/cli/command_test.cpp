#include <gtest/gtest.h>

#include "cli/command.h"
#include "cli/complete.h"
#include "cli/words.h"

namespace {

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
        {cli::in_operation, "watch notifications t",         "traps [traps ]"          },
        {cli::in_operation, "show conf --d",                 "--defaults [--defaults ]"},
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
    // both begin with the same byte of the last letter
    EXPECT_EQ(cli::insertion({
                  cli::split_typed("set d L"), {{"Laß", ""}, {"Laä", ""}}
    }),
              "La");
    const std::vector<proto::Candidate> listed = {
        {"",    "an address"},
        {"a b", "x"         }
    };
    EXPECT_EQ(cli::candidate_list({{}, listed}), "  <value>  an address\n  \"a b\"    x\n");
}

} // namespace
