// The program at a terminal.
#include <gtest/gtest.h>

#include <csignal>
#include <cstring>
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include "unit/cli/fake_agent.h"

namespace {

using Step = std::pair<const char *, const char *>; // keys, and what is shown then

// Reads until `wanted` was shown and leaves what came behind it; fails after 5 s of silence with what was shown
// instead.
void expect(int terminal, const std::string &wanted, std::string *text)
{
    std::size_t found = std::string::npos;
    while ((found = text->find(wanted)) == std::string::npos) {
        pollfd one{terminal, POLLIN, 0};
        char buffer[4096];
        const ssize_t got = poll(&one, 1, 5000) > 0 ? read(terminal, buffer, sizeof buffer) : 0;
        if (got <= 0) break;
        text->append(buffer, static_cast<std::size_t>(got));
    }
    ASSERT_NE(found, std::string::npos) << "wanted: " << wanted << "\nshown: " << *text;
    text->erase(0, found + wanted.size());
}

// Types what the steps say into gwcli; gives its exit status after the last.
int play(const FakeAgent &agent, const std::vector<Step> &steps)
{
    const std::string port = std::to_string(agent.port);
    winsize size{40, 200, 0, 0};
    int terminal = -1;
    const pid_t pid = forkpty(&terminal, nullptr, nullptr, &size);
    if (pid == 0) {
        setenv("TERM", "vt100", 1);
        setenv("HOME", testing::TempDir().c_str(), 1);
        execl(GW_CLI_EXE, "gwcli", "--port", port.c_str(), nullptr);
        _exit(127);
    }
    std::string text;
    for (const auto &[keys, shown] : steps) {
        EXPECT_EQ(write(terminal, keys, strlen(keys)), static_cast<ssize_t>(strlen(keys)));
        expect(terminal, shown, &text);
        if (testing::Test::HasFailure()) break;
    }
    if (testing::Test::HasFailure()) kill(pid, SIGKILL);
    int status = -1;
    waitpid(pid, &status, 0);
    close(terminal);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(Prompt, EditsCompletesAsksAndSurvivesTheLossOfTheAgent)
{
    Gateway gateway;
    gateway.warnings = {
        {"/a", "in use"}
    };
    const FakeAgent agent(std::ref(gateway));
    const std::vector<Step> steps = {
        {"",                   "gw> "                                                                     },
        {"sh\tstat\t\n",       "peer 1  client"                                                           }, // "show " and "status "
        {"",                   "gw> "                                                                     },
        {"show x\x03",         "gw> "                                                                     }, // Ctrl-C
        {"show ?",             "transceiver    SFP module"                                                },
        {"",                   "gw> show "                                                                },
        {"\025conf\n",         "gw(config)# "                                                             },
        {"set i?",             "  interface  Ports"                                                       },
        {"\025set \"bad?\"\n", "gw(config*)# "                                                            }, // quoted, '?' is a letter
        {"commit\n",           "warning: /a: in use"                                                      },
        {"",                   "Commit anyway? [y/N] "                                                    },
        {"n\n",                "gw(config*)# "                                                            },
        {"exit\n",             "Leave and discard them? [y/N] "                                           },
        {"n\n",                "gw(config*)# "                                                            },
        {"commit\ny\n",        "committed (transaction 5)"                                                },
        {"",                   "gw(config)# "                                                             },
        {"set a 1\nset die\n", "set: lost the agent at 127.0.0.1"                                         },
        {"",                   "gw(config*)# "                                                            },
        {"diff\n",             "the connection to the agent was lost, and with it the uncommitted changes"},
        {"",                   "~ /a/m 1 -> 2"                                                            },
        {"",                   "gw(config)# "                                                             },
        {"\x04",               "gw> "                                                                     }, // Ctrl-D: out of the mode
        {"watch\n",            "trap linkDown"                                                            },
        {"\x03",               "gw> "                                                                     },
        {"\x04",               "\n"                                                                       }, // and out of the program
    };
    EXPECT_EQ(play(agent, steps), 0);
}

} // namespace
