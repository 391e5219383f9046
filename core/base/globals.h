// The daemon context and the single values that several subsystems share. Records with more to them (statistics, DHCP
// pool, port mappings) are declared by the module that owns them.
//
// Atomics are read and written on different threads, each value for itself: relaxed order is enough.
#ifndef GW_CORE_BASE_GLOBALS_H
#define GW_CORE_BASE_GLOBALS_H

#include <atomic>
#include <cstdint>
#include <sys/types.h>

struct event;
struct event_base;
struct tollan_ctx;

struct Logger {
    std::uint8_t byte0;
    std::uint8_t byte1;
    std::uint8_t reserved[30];
};
static_assert(sizeof(Logger) == 32);

// One per process, allocated zero-filled at start.
struct TarvoDaemon {
    pid_t pid; // of the process that was started, not of the one that daemon() leaves behind
    std::uint8_t daemonize;
    event_base *evbase;
    void *timer_mgr;
    struct tollan_ctx *tollan_ctx; // the module handle; null until registered, fixed before the threads start
    Logger *logger;
    event *sigchld_ev;
};

// Load once per use; null before initialisation and after teardown, when nothing can be sent any more.
extern std::atomic<TarvoDaemon *> g_tarvod_p;

extern Logger g_logger;
extern Logger *g_logger_p;           // null until the context exists, never cleared
extern const char *const g_progname; // the syslog identity

// Fixed at registration, before the threads start.
extern char click_routing_prefix[26];
extern std::uint8_t _router_standalone_mode;

extern std::atomic<std::int32_t> ntp_full_debug; // 1: the NTP diagnostics are on

extern std::atomic<std::int32_t> g_gig_media_type; // 1: RJ45, 0: SFP cage at 10G; written by config
extern std::uint8_t passthrough_enabled;           // main thread only; written by config
extern std::atomic<std::uint8_t> snmp_enable;      // written by config
extern std::atomic<std::uint8_t> snmp_trap_enable; // number of trap targets; written by config

#endif
