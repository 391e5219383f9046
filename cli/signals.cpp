#include "cli/signals.h"

#include <csignal>
#include <ctime>
#include <poll.h>

namespace cli {

namespace {

volatile std::sig_atomic_t interrupted = 0;
struct sigaction before {};

void remember(int)
{
    interrupted = 1;
}

} // namespace

void catch_interrupts()
{
    struct sigaction action {};
    action.sa_handler = remember;
    sigemptyset(&action.sa_mask);
    interrupted = 0;
    sigaction(SIGINT, &action, &before);
}

void release_interrupts()
{
    sigaction(SIGINT, &before, nullptr);
}

bool was_interrupted()
{
    return interrupted != 0;
}

void forget_interrupt()
{
    interrupted = 0;
}

Wait wait_for(int fd, short events, int timeout_ms)
{
    sigset_t only_int;
    sigset_t old;
    sigemptyset(&only_int);
    sigaddset(&only_int, SIGINT);
    // Blocked between the test and the wait; ppoll lets it through.
    pthread_sigmask(SIG_BLOCK, &only_int, &old);
    Wait result = Wait::interrupted;
    if (!was_interrupted()) {
        pollfd one{fd, events, 0};
        const timespec limit{timeout_ms / 1000, (timeout_ms % 1000) * 1'000'000L};
        const int count = ppoll(&one, 1, timeout_ms < 0 ? nullptr : &limit, &old);
        // A signal or a fault: the caller looks at the descriptor, finds nothing and comes back.
        result = count == 0 ? Wait::timed_out : Wait::ready;
    }
    pthread_sigmask(SIG_SETMASK, &old, nullptr);
    return result;
}

} // namespace cli
