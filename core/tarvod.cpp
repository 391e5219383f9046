#include "core/tarvod.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <pthread.h>
#include <sys/wait.h>
#include <unistd.h>

#include <event2/event.h>

#include "core/base/debug_info.h"
#include "core/base/log.h"
#include "core/tarvo_confd.h"
#include "maker.h"
#include "monitor/monitor_loop.h"
#include "monitor/psv_export.h"
#include "ntp/ntp_loop.h"
#include "tollan.h"

namespace {

void publish(TarvoDaemon *daemon)
{
    daemon->daemonize = 1;
    g_tarvod_p.store(daemon, std::memory_order_relaxed);
    daemon->logger = &g_logger;
    g_logger_p = &g_logger;
    g_logger.byte0 = 1;
    g_logger.byte1 = 2;
}

// The base is made before daemon(): with epoll its signal event survives the fork.
bool create_events(TarvoDaemon *daemon)
{
    event_set_mem_functions(malloc, realloc, free);
    daemon->evbase = event_base_new();
    if (daemon->evbase == nullptr) {
        log_guarded(LOG_ERR, "Failed to malloc tarvo event base");
        return false;
    }
    daemon->sigchld_ev = event_new(daemon->evbase, SIGCHLD, EV_SIGNAL | EV_PERSIST, tarvo_sigchild_signal, daemon);
    if (daemon->sigchld_ev == nullptr) {
        log_guarded(LOG_ERR, "Failed to create new event");
        return false;
    }
    event_add(daemon->sigchld_ev, nullptr);
    return true;
}

// False when daemon() failed.
bool detach(const TarvoDaemon *daemon)
{
    if (daemon->daemonize == 0) {
        log_guarded(LOG_ERR, "running app in foreground...\n");
        return true;
    }
    if (::daemon(0, 0) == 0) return true;
    log_guarded(LOG_ERR, "Failed to daemonize process: %s", strerror(errno));
    return false;
}

void start_monitor(TarvoDaemon *daemon)
{
    pthread_attr_t attributes{};
    const int initialised = pthread_attr_init(&attributes);
    if (initialised < 0) log_guarded(LOG_ERR, "Can not initialize thread ATTR, error: %s", strerror(-initialised));
    pthread_t thread{};
    const int error =
        pthread_create(&thread, initialised == 0 ? &attributes : nullptr, tarvo_monitor_interface, daemon);
    if (initialised == 0) pthread_attr_destroy(&attributes);
    if (error != 0) {
        log_guarded(LOG_ERR, "Can not create PTHREAD, error: %s", strerror(error));
        return;
    }
    pthread_setname_np(thread, "monitor_iface");
    pthread_detach(thread);
}

void start_ntp()
{
    pthread_t thread{};
    const int error = pthread_create(&thread, nullptr, tarvo_ntp_loop, nullptr);
    if (error != 0) {
        log_guarded(LOG_ERR, "Can not create tarvo_ntp_loop thread, error: %s", strerror(error));
        return;
    }
    pthread_setname_np(thread, "ntp_loop");
    pthread_detach(thread);
}

int fail(TarvoDaemon *daemon, int status)
{
    tear_down_tarvod(daemon);
    return status;
}

} // namespace

int init_tarvod(TarvoDaemon **daemon)
{
    *daemon = static_cast<TarvoDaemon *>(calloc(1, sizeof **daemon));
    if (*daemon == nullptr) return EXIT_UNINITIALISED;
    publish(*daemon);
    (*daemon)->pid = getpid();
    if (!create_events(*daemon)) return EXIT_UNINITIALISED;
    (*daemon)->timer_mgr = timer_mgr_create(4, malloc, free, *daemon, 3);
    if ((*daemon)->timer_mgr == nullptr) return EXIT_UNINITIALISED;
    psv_stats_file_init();
    return 0;
}

// getopt() itself complains about anything but -f with its argument; that never stops the start.
void parse_options(TarvoDaemon *daemon, int argc, char **argv)
{
    for (int option = getopt(argc, argv, "f:"); option != -1; option = getopt(argc, argv, "f:")) {
        if (option == 'f') daemon->daemonize = 0;
    }
}

void tear_down_tarvod(TarvoDaemon *daemon)
{
    if (daemon == nullptr) return;
    deregister_from_agent(daemon);
    if (daemon->sigchld_ev != nullptr) {
        event_free(daemon->sigchld_ev);
        daemon->sigchld_ev = nullptr;
    }
    if (daemon->evbase != nullptr) event_base_free(daemon->evbase);
    g_tarvod_p.store(nullptr, std::memory_order_relaxed);
    free(daemon);
}

int run_tarvod(int argc, char **argv)
{
    open_log();
    TarvoDaemon *daemon = nullptr;
    if (init_tarvod(&daemon) != 0) {
        log_guarded(LOG_ERR, "Failed to initalize tarvo daemon");
        return fail(daemon, EXIT_UNINITIALISED);
    }
    parse_options(daemon, argc, argv);
    if (!detach(daemon)) return fail(daemon, EXIT_UNDETACHED);
    if (register_with_agent(daemon) != 0) {
        log_guarded(LOG_ERR, "Failed to connect to confd");
        return fail(daemon, EXIT_UNREGISTERED);
    }
    start_monitor(daemon);
    start_ntp();
    read_debug_info();
    event_base_dispatch(daemon->evbase);
    log_guarded(LOG_INFO, "Terminating interface manager application\n");
    tear_down_tarvod(daemon);
    return EXIT_RETURNED;
}

void tarvo_sigchild_signal(int /*signal*/, short /*events*/, void * /*daemon*/)
{
    int status = 0;
    // Children of other threads stay theirs: taking one would lose the exit status that its command waits for.
    const pid_t pid = waitpid(-1, &status, WNOHANG | __WNOTHREAD);
    if (pid <= 0) return;
    if (WIFSTOPPED(status)) {
        log_guarded(LOG_ERR, "Child pid %d stopped due to signal %d", pid, WSTOPSIG(status));
    } else if (WIFEXITED(status)) {
        log_guarded(LOG_ERR, "Child pid %d exited with status: %d", pid, WEXITSTATUS(status));
    } else {
        log_guarded(LOG_ERR, "Child pid %d terminated due to signal %d", pid, WTERMSIG(status));
    }
    log_guarded(LOG_ERR, "Handle sig event for child pid %d", pid);
}
