// The order of start-up and teardown as the calls that they make, and what each failure leaves of it.
#include <algorithm>
#include <cerrno>
#include <unistd.h>

#include <event2/event.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include "core/tarvod.h"
#include "fakes/platform.h"
#include "fakes/record.h"
#include "monitor/monitor_loop.h"

namespace {

std::string failing; // the call that fails
char fake_base, fake_event;

bool succeeds(const std::string &call)
{
    fakes::record(call);
    return call != failing;
}

} // namespace

extern "C" {

void *__real_calloc(size_t count, size_t size);

void *__wrap_calloc(size_t count, size_t size)
{
    return failing == "calloc" && size == sizeof(TarvoDaemon) ? nullptr : __real_calloc(count, size);
}

int __wrap_daemon(int stay, int keep)
{
    const bool own_pid = g_tarvod_p.load()->pid == getpid();
    errno = EPERM;
    return succeeds("daemon " + std::to_string(stay) + " " + std::to_string(keep)) && own_pid ? 0 : -1;
}

event *__wrap_event_new(event_base *, evutil_socket_t signal, short events, event_callback_fn callback, void *daemon)
{
    const bool as_wanted = signal == SIGCHLD && events == (EV_SIGNAL | EV_PERSIST) &&
                           callback == tarvo_sigchild_signal && daemon == g_tarvod_p.load();
    return succeeds("event_new") && as_wanted ? reinterpret_cast<event *>(&fake_event) : nullptr;
}

int __wrap_event_add(event *, const timeval *timeout)
{
    succeeds(timeout == nullptr ? "event_add" : "event_add with a time-out");
    return -1; // makes no difference
}

// clang-format off
using Base = event_base *;
#define REPLACE(type, name, parameters, result) \
    type __wrap_##name parameters { return succeeds(#name) ? (result) : type(); }
REPLACE(Base, event_base_new, (), reinterpret_cast<event_base *>(&fake_base))
REPLACE(int, event_base_dispatch, (event_base *), 1)
REPLACE(void, event_set_mem_functions, (void *(*)(size_t), void *(*)(void *, size_t), void (*)(void *)), void())
REPLACE(void, event_free, (event *), void())
REPLACE(void, event_base_free, (event_base *), void())
// clang-format on

int __wrap_pthread_create(pthread_t *, const pthread_attr_t *attributes, void *(*body)(void *), void *argument)
{
    const bool monitor = body == tarvo_monitor_interface && attributes != nullptr && argument == g_tarvod_p.load();
    return succeeds(monitor ? "monitor thread" : argument == nullptr ? "ntp thread" : "?") ? 0 : EAGAIN;
}

int __wrap_pthread_setname_np(pthread_t, const char *name)
{
    return succeeds(std::string("name ") + name) ? 0 : -1;
}

int __wrap_pthread_detach(pthread_t)
{
    return 0; // the threads are not real
}

void __wrap__Z19psv_stats_file_initv()
{
    fakes::record("psv_stats_file_init");
}

void __wrap__Z15read_debug_infov()
{
    fakes::record("read_debug_info");
}
}

namespace {

const fakes::Events whole_run = {
    "openlog TARVOD 9 184",
    "event_set_mem_functions",
    "event_base_new",
    "event_new",
    "event_add",
    "timer_mgr_create 4 3",
    "psv_stats_file_init",
    "daemon 0 0",
    "tollan_module_init",
    "debug: tollan module initialized \n",
    "monitor thread",
    "name monitor_iface",
    "ntp thread",
    "name ntp_loop",
    "read_debug_info",
    "event_base_dispatch",
    "info: Terminating interface manager application\n",
    "tollan_module_deinit",
    "event_free",
    "event_base_free",
};

struct Outcome {
    int status;
    fakes::Events events;
};

Outcome run(const std::string &failing_call, std::vector<const char *> arguments = {})
{
    fakes::reset();
    g_logger_p = nullptr;
    g_logger = {};
    failing = failing_call;
    fakes::outcomes.module_init = failing == "tollan_module_init" ? 1 : 0;
    fakes::outcomes.timer_manager = failing == "timer_mgr_create 4 3" ? 0 : 1;
    arguments.insert(arguments.begin(), "tarvod");
    const int count = static_cast<int>(arguments.size());
    arguments.push_back(nullptr);
    optind = 0;
    const int status = run_tarvod(count, const_cast<char **>(arguments.data()));
    EXPECT_EQ(g_tarvod_p.load(), nullptr);
    failing.clear();
    return {status, fakes::taken()};
}

// The whole run up to `last`, then `more`.
fakes::Events up_to(const std::string &last, const fakes::Events &more)
{
    fakes::Events events(whole_run.begin(), std::ranges::find(whole_run, last) + 1);
    events.insert(events.end(), more.begin(), more.end());
    return events;
}

TEST(Startup, RunsItsStepsInOrderAndTearsDown)
{
    const Outcome done = run("");
    EXPECT_EQ(done.status, 0);
    EXPECT_EQ(done.events, whole_run);
    EXPECT_EQ(g_logger.byte0, 1);
    EXPECT_EQ(g_logger.byte1, 2);
}

TEST(Startup, EndsWithItsStatusAtTheStepThatFails)
{
    const std::string not_initialised = "error: Failed to initalize tarvo daemon";
    // clang-format off
    struct {
        const char *failing;
        int status;
        fakes::Events more; // after the failing call
    } const cases[] = {
        {"event_base_new",       2,   {"error: Failed to malloc tarvo event base", not_initialised}},
        {"event_new",            2,   {"error: Failed to create new event", not_initialised, "event_base_free"}},
        {"timer_mgr_create 4 3", 2,   {not_initialised, "event_free", "event_base_free"}},
        {"daemon 0 0",           255, {"error: Failed to daemonize process: Operation not permitted", "event_free", "event_base_free"}},
        {"tollan_module_init",   1,   {"crit: tollan module init failed\n", "error: Failed to connect to confd", "event_free", "event_base_free"}},
    };
    // clang-format on
    EXPECT_EQ(run("calloc").events, fakes::Events{whole_run[0]}) << "nobody can be told: logging is not on yet";
    EXPECT_EQ(run("calloc").status, 2);
    for (const auto &c : cases) {
        const Outcome done = run(c.failing);
        EXPECT_EQ(done.status, c.status) << c.failing;
        EXPECT_EQ(done.events, up_to(c.failing, c.more));
    }
}

TEST(Startup, GoesOnWithoutAThread)
{
    fakes::Events without_monitor = whole_run;
    *std::ranges::find(without_monitor, "name monitor_iface") =
        "error: Can not create PTHREAD, error: Resource temporarily unavailable";
    EXPECT_EQ(run("monitor thread").events, without_monitor);
    fakes::Events without_ntp = whole_run;
    *std::ranges::find(without_ntp, "name ntp_loop") =
        "error: Can not create tarvo_ntp_loop thread, error: Resource temporarily unavailable";
    EXPECT_EQ(run("ntp thread").events, without_ntp);
}

TEST(Startup, StaysInTheForegroundOnlyForDashFWithAnArgument)
{
    fakes::Events foreground = whole_run;
    *std::ranges::find(foreground, "daemon 0 0") = "error: running app in foreground...\n";
    EXPECT_EQ(run("", {"-f", "1"}).events, foreground);
    EXPECT_EQ(run("", {"-fx"}).events, foreground);
    EXPECT_EQ(run("", {"other", "-x", "-f", "1"}).events, foreground);
    EXPECT_EQ(run("", {"-f"}).events, whole_run);
    EXPECT_EQ(run("", {"-x", "f"}).events, whole_run);
}

} // namespace
