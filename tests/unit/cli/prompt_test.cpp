// The program at a terminal.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <poll.h>
#include <pty.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include "unit/cli/fake_agent.h"

namespace {

// gwcli stands beside the test program.
std::string program()
{
    char path[4096] = "";
    const ssize_t size = readlink("/proc/self/exe", path, sizeof path - 1);
    std::string name(path, size > 0 ? static_cast<std::size_t>(size) : 0);
    return name.substr(0, name.rfind('/') + 1) + "gwcli";
}

struct Screen {
    explicit Screen(const FakeAgent &agent);
    ~Screen();
    Screen(const Screen &) = delete;
    Screen &operator=(const Screen &) = delete;

    int fd = -1;
    pid_t pid = -1;
    std::string text; // since the last expect()
};

Screen::Screen(const FakeAgent &agent)
{
    const std::string name = program();
    const std::string port = std::to_string(agent.port);
    winsize size{40, 200, 0, 0};
    pid = forkpty(&fd, nullptr, nullptr, &size);
    if (pid != 0) return;
    setenv("TERM", "vt100", 1);
    setenv("HOME", testing::TempDir().c_str(), 1);
    execl(name.c_str(), "gwcli", "--port", port.c_str(), nullptr);
    _exit(127);
}

Screen::~Screen()
{
    close(fd);
    waitpid(pid, nullptr, 0);
}

void type(const Screen &screen, const std::string &keys)
{
    ASSERT_EQ(write(screen.fd, keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
}

// Reads until `wanted` was shown; fails after 5 s with what was shown instead.
void expect(Screen *screen, const std::string &wanted)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    std::size_t found = std::string::npos;
    while ((found = screen->text.find(wanted)) == std::string::npos && std::chrono::steady_clock::now() < end) {
        pollfd one{screen->fd, POLLIN, 0};
        char buffer[4096];
        if (poll(&one, 1, 100) <= 0) continue;
        const ssize_t got = read(screen->fd, buffer, sizeof buffer);
        if (got <= 0) break;
        screen->text.append(buffer, static_cast<std::size_t>(got));
    }
    ASSERT_NE(found, std::string::npos) << "wanted: " << wanted << "\nshown: " << screen->text;
    screen->text.erase(0, found + wanted.size());
}

int exit_status(Screen *screen)
{
    int status = -1;
    expect(screen, "\n");
    waitpid(screen->pid, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

Answer answer_as_gateway(proto::Op op, std::string_view payload)
{
    proto::Edit edit;
    proto::Commit commit;
    proto::Complete question;
    if (op == proto::Op::status) return reply(proto::Pairs{{{"version", "0.1"}}});
    if (op == proto::Op::diff) return reply(proto::Diff{{{'~', "/a", "1", "2"}}});
    if (op == proto::Op::commit && proto::decode(payload, &commit)) {
        if (!commit.accepted.empty()) return reply(proto::CommitReply{proto::Outcome::done, 5, {}});
        return reply(proto::CommitReply{proto::Outcome::needs_acceptance, 0, {{"/a", "in use"}}});
    }
    if (op == proto::Op::complete && proto::decode(payload, &question) && question.words.empty()) {
        return reply(proto::Candidates{
            {{"interface", "Ports"}, {"ip", "Network"}}
        });
    }
    if (op == proto::Op::edit && proto::decode(payload, &edit) && edit.path.back() == "what")
        return refusal(proto::ErrorCode::bad_value, "", "the question mark is missing");
    if (op == proto::Op::edit && edit.path.back() == "die") return {{}, {}, {}, {}, true};
    return {};
}

TEST(Prompt, EditsCompletesAsksAndLeaves)
{
    const FakeAgent agent(answer_as_gateway);
    Screen screen(agent);
    expect(&screen, "gw> ");
    type(screen, "sh\tstat\t\n"); // "show " and "status "
    expect(&screen, "version  0.1");
    expect(&screen, "gw> ");
    type(screen, "show nonsense\x03"); // Ctrl-C
    expect(&screen, "gw> ");
    type(screen, "show ?");
    expect(&screen, "transceiver    SFP module");
    expect(&screen, "gw> show ");
    type(screen, "\x15"
                 "conf\n");
    expect(&screen, "gw(config)# ");
    type(screen, "set i?");
    expect(&screen, "  interface  Ports\r\n  ip         Network");
    type(screen, "nterf\t\"what?\"\n"); // a quoted '?' is a letter
    expect(&screen, "gw(config*)# ");
    type(screen, "commit\n");
    expect(&screen, "warning: /a: in use");
    expect(&screen, "Commit anyway? [y/N] ");
    type(screen, "n\n");
    expect(&screen, "gw(config*)# ");
    type(screen, "exit\n");
    expect(&screen, "Leave and discard them? [y/N] ");
    type(screen, "n\n");
    expect(&screen, "gw(config*)# ");
    type(screen, "commit\ny\n");
    expect(&screen, "committed (transaction 5)");
    expect(&screen, "gw(config)# ");
    type(screen, "\x04"); // Ctrl-D: out of the mode, then out of the program
    expect(&screen, "gw> ");
    type(screen, "\x04");
    EXPECT_EQ(exit_status(&screen), 0);
}

TEST(Prompt, SurvivesTheLossOfTheAgentAndInterruptsWaits)
{
    std::atomic<int> watched = 0;
    const FakeAgent agent([&watched](proto::Op op, std::string_view payload) {
        watched += op == proto::Op::watch ? 1 : 0;
        return answer_as_gateway(op, payload);
    });
    Screen screen(agent);
    expect(&screen, "gw> ");
    type(screen, "configure\nset a 1\nset b die\n");
    expect(&screen, "set: lost the agent at 127.0.0.1");
    expect(&screen, "gw(config*)# ");
    type(screen, "diff\n");
    expect(&screen, "the connection to the agent was lost, and with it the uncommitted changes");
    expect(&screen, "~ /a 1 -> 2");
    expect(&screen, "gw(config)# ");
    type(screen, "exit\n");
    expect(&screen, "gw> ");
    type(screen, "watch\n");
    while (watched == 0) // while the line is edited Ctrl-C would not be a signal
        usleep(1000);
    type(screen, "\x03");
    expect(&screen, "gw> ");
    type(screen, "show status\nquit\n");
    expect(&screen, "version  0.1");
    expect(&screen, "quit");
    EXPECT_EQ(exit_status(&screen), 0);
}

} // namespace
