// The real daemon loop, reaper, commands and waits, in the foreground and detached: a worker runs commands while the
// main thread waits for events and the other way round.
#include <atomic>
#include <chrono>
#include <thread>

#include <event2/event.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "core/base/waits.h"
#include "core/tarvod.h"
#include "fakes/platform.h"
#include "fakes/record.h"

namespace {

using Clock = std::chrono::steady_clock;

struct Trial {
    event_base *base = nullptr;
    event *tick = nullptr;
    std::thread worker;
    std::atomic<bool> done{false};
    std::atomic<int> lost{0}; // exit statuses
    std::atomic<int> cut{0};  // waits
    int ticks = 0;
    pid_t own_child = 0;
};

void run_and_check(Trial &trial)
{
    if (WEXITSTATUS(system("exit 7")) != 7) ++trial.lost;
    FILE *pipe = popen("exit 9", "r");
    if (pipe == nullptr || WEXITSTATUS(pclose(pipe)) != 9) ++trial.lost;
}

void work(Trial &trial)
{
    for (int i = 0; i < 60; ++i)
        run_and_check(trial);
    for (int i = 0; i < 10; ++i) {
        const auto start = Clock::now();
        wait_milliseconds(40);
        if (Clock::now() - start < std::chrono::milliseconds(40)) ++trial.cut;
    }
    trial.done = true;
}

// On the main thread: waits at first, then runs commands while the worker waits.
void on_tick(evutil_socket_t /*fd*/, short /*events*/, void *argument)
{
    Trial &trial = *static_cast<Trial *>(argument);
    ++trial.ticks;
    run_and_check(trial);
    if (trial.done) event_base_loopbreak(trial.base);
}

void start(Trial &trial, event_base *base)
{
    const timeval period = {0, 10000};
    trial.base = base;
    trial.tick = event_new(base, -1, EV_PERSIST, on_tick, &trial);
    event_add(trial.tick, &period);
    trial.worker = std::thread([&trial] { work(trial); });
    trial.own_child = fork(); // one that nobody but the reaper waits for
    if (trial.own_child == 0) _exit(3);
}

// Runs the daemon to its end and tells what became of it and of its child.
std::string run_here(bool detached)
{
    Trial trial;
    fakes::reset();
    fakes::outcomes.on_init = [&trial](const TollanModuleParams &params) { start(trial, params.evbase); };
    const char *arguments[] = {"tarvod", "-f", "1", nullptr};
    const int status = run_tarvod(detached ? 1 : 3, const_cast<char **>(arguments));
    trial.worker.join();
    std::string report = "status " + std::to_string(status) + ", lost " + std::to_string(trial.lost) + ", cut " +
                         std::to_string(trial.cut) + (trial.ticks > 4 ? "" : ", too few ticks");
    const std::string pid = std::to_string(trial.own_child);
    for (const std::string &line : fakes::taken()) {
        if (line == "error: Child pid " + pid + " exited with status: 3") report += ", reaped";
        if (line == "error: Handle sig event for child pid " + pid) report += ", handled";
    }
    return report;
}

// The same in a process of its own, which daemon() leaves for another.
std::string run_daemon(bool detached)
{
    int ends[2];
    EXPECT_EQ(pipe(ends), 0);
    if (fork() == 0) {
        const std::string report = run_here(detached);
        _exit(write(ends[1], report.data(), report.size()) < 0);
    }
    close(ends[1]);
    char report[200] = "";
    EXPECT_GT(read(ends[0], report, sizeof report - 1), 0);
    close(ends[0]);
    wait(nullptr);
    return report;
}

TEST(Reaper, LeavesTheCommandsOfAllThreadsAlone)
{
    for (const bool detached : {false, true})
        EXPECT_EQ(run_daemon(detached), "status 0, lost 0, cut 0, reaped, handled") << detached;
}

TEST(Reaper, SaysHowAChildEndedAndNothingWithoutOne)
{
    g_logger_p = &g_logger;
    fakes::reset();
    tarvo_sigchild_signal(SIGCHLD, 0, nullptr);
    EXPECT_EQ(fakes::taken(), fakes::Events{});
    for (int i = 0; i < 2; ++i) {
        const pid_t child = fork();
        if (child == 0) raise(SIGKILL);
        siginfo_t ended;
        waitid(P_PID, static_cast<id_t>(child), &ended, WEXITED | WNOWAIT);
    }
    tarvo_sigchild_signal(SIGCHLD, 0, nullptr);
    const auto lines = fakes::taken();
    ASSERT_EQ(lines.size(), 2U) << "one child for each event";
    EXPECT_TRUE(lines[0].ends_with(" terminated due to signal 9"));
    EXPECT_TRUE(lines[1].starts_with("error: Handle sig event for child pid "));
}

} // namespace
