#include "snmp/wait.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <sys/select.h>
#include <sys/signalfd.h>

#include <algorithm>

#include "service/log.h"
#include "snmp/netsnmp.h"

#include <net-snmp/library/large_fd_set.h>

namespace snmp {

namespace {

using std::chrono::microseconds;

constexpr microseconds longest_wait{60000000};

struct FdSet {
    FdSet() { netsnmp_large_fd_set_init(&set, FD_SETSIZE); }
    FdSet(const FdSet &) = delete;
    FdSet &operator=(const FdSet &) = delete;
    ~FdSet() { netsnmp_large_fd_set_cleanup(&set); }

    netsnmp_large_fd_set set{};
};

struct Sets {
    FdSet read;
    FdSet write;
    int count = 0; // descriptors from 0
};

timeval span_until(Time due, Time now)
{
    const auto left = due == never ? longest_wait : std::chrono::duration_cast<microseconds>(due - now);
    const auto span = std::clamp(left, microseconds(0), longest_wait).count();
    timeval tv{};
    tv.tv_sec = span / 1000000;
    tv.tv_usec = span % 1000000;
    return tv;
}

void add(int fd, FdSet *set, Sets *sets)
{
    if (fd < 0) return;
    NETSNMP_LARGE_FD_SET(fd, &set->set);
    sets->count = std::max(sets->count, fd + 1);
}

// What is waited for: gives the time to wait, in `left` at first, cut to what the library wants.
void collect(const Gateway &gateway, int signals, Sets *sets, timeval *left)
{
    int block = 0;
    sets->count = 0;
    NETSNMP_LARGE_FD_ZERO(&sets->read.set);
    NETSNMP_LARGE_FD_ZERO(&sets->write.set);
    snmp_select_info2(&sets->count, &sets->read.set, left, &block);
    add(signals, &sets->read, sets);
    add(gateway.link.stream.socket.fd, &sets->read, sets);
    if (wants_to_write(gateway.link)) add(gateway.link.stream.socket.fd, &sets->write, sets);
}

bool has(const Sets &sets, const FdSet &set, int fd)
{
    return fd >= 0 && fd < sets.count && NETSNMP_LARGE_FD_ISSET(fd, const_cast<netsnmp_large_fd_set *>(&set.set)) != 0;
}

void serve_library(Sets *sets, int ready)
{
    if (ready > 0) {
        snmp_read2(&sets->read.set);
    } else {
        snmp_timeout();
    }
    run_alarms();
}

} // namespace

int open_signals()
{
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGTERM);
    sigaddset(&set, SIGINT);
    signal(SIGPIPE, SIG_IGN);
    if (sigprocmask(SIG_BLOCK, &set, nullptr) != 0) return -1;
    return signalfd(-1, &set, SFD_CLOEXEC);
}

bool run_loop(Gateway *gateway, int signals)
{
    Sets sets;
    for (;;) {
        const Time now = Clock::now();
        tend_gateway(gateway, now);
        netsnmp_check_outstanding_agent_requests();
        timeval left = span_until(next_due(*gateway), now);
        collect(*gateway, signals, &sets, &left);
        const int ready = netsnmp_large_fd_set_select(sets.count, &sets.read.set, &sets.write.set, nullptr, &left);
        if (ready < 0 && errno == EINTR) continue;
        if (ready < 0) {
            service::log(LOG_CRIT, "cannot wait: %s", strerror(errno));
            return false;
        }
        if (has(sets, sets.read, signals)) return true;
        const int fd = gateway->link.stream.socket.fd;
        pump_link(&gateway->link, has(sets, sets.read, fd), has(sets, sets.write, fd), Clock::now());
        serve_library(&sets, ready);
    }
}

} // namespace snmp
