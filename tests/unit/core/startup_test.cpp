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

std::string call_of_daemon(int stay, int keep)
{
    const bool own_pid = g_tarvod_p.load()->pid == getpid();
    return "daemon " + std::to_string(stay) + " " + std::to_string(keep) + (own_pid ? "" : " of another");
}

} // namespace

extern "C" {

void *__real_calloc(size_t count, size_t size);
void *__wrap_calloc(size_t count, size_t size)
{
    return failing == "calloc" && size == sizeof(TarvoDaemon) ? nullptr : __real_calloc(count, size);
}

event *__wrap_event_new(event_base *, evutil_socket_t signal, short events, event_callback_fn callback, void *daemon)
{
    const bool as_wanted = signal == SIGCHLD && events == (EV_SIGNAL | EV_PERSIST) &&
                           callback == tarvo_sigchild_signal && daemon == g_tarvod_p.load();
    return succeeds("event_new") && as_wanted ? reinterpret_cast<event *>(&fake_event) : nullptr;
}

int __wrap_pthread_create(pthread_t *, const pthread_attr_t *attributes, void *(*body)(void *), void *argument)
{
    const bool monitor = body == tarvo_monitor_interface && attributes != nullptr && argument == g_tarvod_p.load();
    return succeeds(monitor ? "monitor thread" : argument == nullptr ? "ntp thread" : "?") ? 0 : EAGAIN;
}

// clang-format off
using Base = event_base *;
using Malloc = void *(size_t);
using Realloc = void *(void *, size_t);
using Free = void (void *);
#define REPLACE(type, name, parameters, result) \
    type __wrap_##name parameters { fakes::record(#name); return result; }
#define REPLACE_FAILING(type, name, parameters, call, result, failure) \
    type __wrap_##name parameters { return succeeds(call) ? (result) : (failure); }
REPLACE(void, event_set_mem_functions, (Malloc *, Realloc *, Free *), )
REPLACE(int, event_add, (event *, const timeval *), -1) // makes no difference
REPLACE(int, event_base_dispatch, (event_base *), 1)
REPLACE(void, event_free, (event *), )
REPLACE(void, event_base_free, (event_base *), )
REPLACE(void, _Z19psv_stats_file_initv, (), )
REPLACE(void, _Z15read_debug_infov, (), )
REPLACE_FAILING(Base, event_base_new, (), "event_base_new", reinterpret_cast<event_base *>(&fake_base), nullptr)
REPLACE_FAILING(int, daemon, (int stay, int keep), call_of_daemon(stay, keep), 0, (errno = EPERM, -1))
REPLACE_FAILING(int, pthread_setname_np, (pthread_t, const char *name), std::string("name ") + name, 0, -1)
int __wrap_pthread_detach(pthread_t) { return 0; } // the threads are not real
// clang-format on
}

namespace {

// clang-format off
const fakes::Events whole_run = {
    "openlog TARVOD 9 184",
    "event_set_mem_functions", "event_base_new", "event_new", "event_add",
    "timer_mgr_create 4 3",
    "_Z19psv_stats_file_initv",
    "daemon 0 0",
    "tollan_module_init", "debug: tollan module initialized \n",
    "monitor thread", "name monitor_iface",
    "ntp thread", "name ntp_loop",
    "_Z15read_debug_infov",
    "event_base_dispatch",
    "info: Terminating interface manager application\n",
    "tollan_module_deinit", "event_free", "event_base_free",
};
// clang-format on

// The events of a run in which one call fails, the last one its status.
fakes::Events run(const std::string &failing_call, std::vector<const char *> arguments = {})
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
    fakes::record("status " + std::to_string(run_tarvod(count, const_cast<char **>(arguments.data()))));
    EXPECT_EQ(g_tarvod_p.load(), nullptr);
    failing.clear();
    return fakes::taken();
}

TEST(Startup, EndsWithItsStatusAtTheStepThatFails)
{
    const std::string not_initialised = "error: Failed to initalize tarvo daemon";
    // clang-format off
    struct {
        const char *failing;
        int status, freed; // how many of the last two steps follow
        fakes::Events said;
    } const cases[] = {
        {"event_base_new",       2,   0, {"error: Failed to malloc tarvo event base", not_initialised}},
        {"event_new",            2,   1, {"error: Failed to create new event", not_initialised}},
        {"timer_mgr_create 4 3", 2,   2, {not_initialised}},
        {"daemon 0 0",           255, 2, {"error: Failed to daemonize process: Operation not permitted"}},
        {"tollan_module_init",   1,   2, {"crit: tollan module init failed\n", "error: Failed to connect to confd"}},
    };
    // clang-format on
    EXPECT_EQ(run("calloc"), (fakes::Events{whole_run[0], "status 2"})) << "logging is not on yet";
    for (const auto &c : cases) {
        fakes::Events expected(whole_run.begin(), std::ranges::find(whole_run, c.failing) + 1);
        expected.insert(expected.end(), c.said.begin(), c.said.end());
        expected.insert(expected.end(), whole_run.end() - c.freed, whole_run.end());
        expected.push_back("status " + std::to_string(c.status));
        EXPECT_EQ(run(c.failing), expected);
    }
}

TEST(Startup, RunsItsStepsInOrderAndTearsDown)
{
    const std::string none = "error: Can not create ";
    const std::string why = ", error: Resource temporarily unavailable";
    const std::string foreground = "error: running app in foreground...\n";
    // clang-format off
    struct {
        const char *failing;
        std::vector<const char *> arguments;
        const char *step; // of the whole run, that another one replaces
        std::string by;
    } const cases[] = {
        {"",               {},                         "name ntp_loop",      "name ntp_loop"},
        {"monitor thread", {},                         "name monitor_iface", none + "PTHREAD" + why},
        {"ntp thread",     {},                         "name ntp_loop",      none + "tarvo_ntp_loop thread" + why},
        {"",               {"-f", "1"},                "daemon 0 0",         foreground},
        {"",               {"other", "-x", "-f", "1"}, "daemon 0 0",         foreground},
        {"",               {"-f"},                     "daemon 0 0",         "daemon 0 0"},
    };
    // clang-format on
    for (const auto &c : cases) {
        fakes::Events expected = whole_run;
        *std::ranges::find(expected, c.step) = c.by;
        expected.emplace_back("status 0");
        EXPECT_EQ(run(c.failing, c.arguments), expected) << testing::PrintToString(c.arguments);
        EXPECT_TRUE(g_logger.byte0 == 1 && g_logger.byte1 == 2);
    }
}

} // namespace
