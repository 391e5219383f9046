#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <thread>

#include "board.h"
#include "maker.h"

namespace {

TEST(ExecuteOutput, KeepsWhatFitsAndSaysHowItEnded)
{
    const std::tuple<const char *, std::size_t, int, const char *> rows[] = {
        {"echo full",                             64, 0,   "full"},
        {"printf 'a\\n\\n'",                      64, 0,   "a\n" }, // only the final line break goes
        {"echo abcdef",                           4,  0,   "abc" },
        {"true",                                  64, 0,   ""    },
        {"echo kept; exit 3",                     64, 3,   "kept"},
        {"no-such-program-here 2>/dev/null",      64, 127, ""    },
        {"kill -9 $$",                            64, -1,  ""    },
        {"echo out; echo err >&2",                64, 0,   "out" },
        {"head -c 300000 /dev/zero | tr '\\0' x", 3,  0,   "xx"  }, // more than a pipe holds
    };
    for (const auto &[command, size, result, expected] : rows) {
        char output[64];
        std::memset(output, '!', sizeof output);
        EXPECT_EQ(zel_execute_output(command, output, size), result) << command;
        EXPECT_STREQ(output, expected) << command;
    }
    EXPECT_NE(zel_execute_output("true", nullptr, 0), 0);
}

// The caller's own children stay its own; the worker's are safe from the daemon's reaper, which here never rests.
TEST(ExecuteOutput, AndTheReaperLeaveEachOthersChildrenAlone)
{
    char output[16];
    int status = 0;
    const pid_t other = fork();
    if (other == 0) _exit(9);
    EXPECT_EQ(zel_execute_output("sleep 0.1", output, sizeof output), 0);
    EXPECT_EQ(waitpid(other, &status, 0), other);
    EXPECT_EQ(WEXITSTATUS(status), 9);
    std::atomic<bool> done{false};
    std::thread worker([&] {
        for (int i = 0; i < 50; i++) {
            EXPECT_EQ(zel_execute_output("echo a; exit 7", output, sizeof output), 7);
            EXPECT_STREQ(output, "a");
        }
        done = true;
    });
    int reaped = 0;
    while (!done) {
        if (waitpid(-1, &status, WNOHANG | __WNOTHREAD) > 0) reaped++;
    }
    worker.join();
    EXPECT_EQ(reaped, 0);
}

TEST(Link, DevicesOfThisHost)
{
    EXPECT_EQ(zel_link_check("lo"), 0);
    for (const char *missing : {"", "absent0", "a-name-of-16-chr", "lo:1"})
        EXPECT_EQ(zel_link_check(missing), 2) << missing;
}

TEST(Board, IdentifierFromTheAppliancesFile)
{
    std::remove("/etc/board_id");
    EXPECT_EQ(get_board_id(), 0);
    // clang-format off
    const std::pair<const char *, int> rows[] = {
        {"4\n", 4}, {" 1", 1}, {"", 0}, {"none\n", 0}, {"4x\n", 0}, {"-1\n", 0}, {"99999999999\n", 0},
    };
    // clang-format on
    for (const auto &[text, id] : rows) {
        std::ofstream("/etc/board_id") << text;
        EXPECT_EQ(get_board_id(), id) << text;
    }
    std::remove("/etc/board_id");
}

} // namespace
