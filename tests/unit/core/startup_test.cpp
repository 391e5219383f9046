// The order of start-up and teardown, and what each failure leaves of it, as the calls in tests/data/core/startup.txt.
#include <cerrno>
#include <unistd.h>

#include <event2/event.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include "core/tarvod.h"
#include "fakes/platform.h"
#include "fakes/transcript.h"
#include "monitor/monitor_loop.h"

static std::string failing; // the call that fails
static char fake_base, fake_event;

static bool succeeds(const std::string &call)
{
    fakes::record(call);
    return call != failing;
}

static std::string call_of_daemon(int stay, int keep)
{
    const bool own_pid = g_tarvod_p.load()->pid == getpid();
    return "daemon " + std::to_string(stay) + " " + std::to_string(keep) + (own_pid ? "" : " of another");
}

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
#define REPLACE(type, name, parameters, result) \
    type __wrap_##name parameters { fakes::record(#name); return result; }
#define REPLACE_FAILING(type, name, parameters, call, result, failure) \
    type __wrap_##name parameters { return succeeds(call) ? (result) : (failure); }
REPLACE(void, event_set_mem_functions, (...), )
REPLACE(int, event_add, (event *, const timeval *), -1) // makes no difference
REPLACE(int, event_base_dispatch, (event_base *), 1)
REPLACE(void, event_free, (event *), )
REPLACE(void, event_base_free, (event_base *), )
REPLACE(void, _Z19psv_stats_file_initv, (), )
REPLACE(void, _Z15read_debug_infov, (), )
REPLACE_FAILING(event_base *, event_base_new, (), "event_base_new", reinterpret_cast<event_base *>(&fake_base), nullptr)
REPLACE_FAILING(int, daemon, (int stay, int keep), call_of_daemon(stay, keep), 0, (errno = EPERM, -1))
REPLACE_FAILING(int, pthread_setname_np, (pthread_t, const char *name), std::string("name ") + name, 0, -1)
int __wrap_pthread_detach(pthread_t) { return 0; } // the threads are not real
// clang-format on
}

// Runs the daemon while one call fails.
static void run(const char *failing_call, std::vector<const char *> arguments = {})
{
    fakes::record(std::string("== ") + failing_call);
    for (const char *argument : arguments)
        fakes::record(std::string("argument ") + argument);
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
    EXPECT_TRUE(failing == "calloc" || (g_logger.byte0 == 1 && g_logger.byte1 == 2));
    failing.clear();
}

TEST(Startup, TakesItsStepsInOrderAndTearsDown)
{
    fakes::reset();
    run("nothing");
    for (const char *call : {"monitor thread", "ntp thread", "calloc", "event_base_new", "event_new",
                             "timer_mgr_create 4 3", "daemon 0 0", "tollan_module_init"})
        run(call);
    run("nothing", {"-f", "1"});
    run("nothing", {"other", "-x", "-f", "1"});
    run("nothing", {"-f"});
    fakes::expect_recorded("core/startup.txt");
}
