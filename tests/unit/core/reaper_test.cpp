// The real daemon loop, reaper, commands and waits, in the foreground and detached: a worker runs commands while the
// main thread waits for events and the other way round.
#include <atomic>
#include <chrono>
#include <csignal>
#include <regex>
#include <set>
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
    std::thread worker;
    std::atomic<bool> done{false};
    std::atomic<int> lost{0}, cut{0}; // exit statuses, waits
    int ticks = 0;
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
    event_add(event_new(base, -1, EV_PERSIST, on_tick, &trial), &period);
    trial.worker = std::thread([&trial] { work(trial); });
    if (fork() == 0) _exit(3); // children that nobody but the reaper waits for
    if (fork() == 0) raise(SIGKILL);
}

// Runs the daemon to its end and tells what became of it and of its children.
std::string run_here(bool detached)
{
    Trial trial;
    fakes::reset();
    fakes::outcomes.on_init = [&trial](const TollanModuleParams &params) { start(trial, params.evbase); };
    const char *arguments[] = {"tarvod", "-f", "1", nullptr};
    const int status = run_tarvod(detached ? 1 : 3, const_cast<char **>(arguments));
    trial.worker.join();
    std::multiset<std::string> said;
    for (const std::string &line : fakes::taken()) {
        if (line.find("hild pid ") == std::string::npos) continue;
        said.insert(std::regex_replace(line, std::regex("pid \\d+"), "#"));
    }
    std::string report = "status " + std::to_string(status) + ", lost " + std::to_string(trial.lost) + ", cut " +
                         std::to_string(trial.cut) + (trial.ticks > 4 ? "" : ", too few ticks");
    for (const std::string &line : said)
        report += "\n" + line;
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
    char report[300] = "";
    EXPECT_GT(read(ends[0], report, sizeof report - 1), 0);
    close(ends[0]);
    wait(nullptr);
    return report;
}

TEST(Reaper, TakesItsOwnChildrenAndLeavesTheCommandsOfAllThreadsAlone)
{
    const std::string expected = "status 0, lost 0, cut 0\nerror: Child # exited with status: 3"
                                 "\nerror: Child # terminated due to signal 9\nerror: Handle sig event for child #"
                                 "\nerror: Handle sig event for child #";
    for (const bool detached : {false, true})
        EXPECT_EQ(run_daemon(detached), expected) << detached;
}

} // namespace
