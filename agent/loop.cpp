#include "agent/loop.h"

#include <array>
#include <csignal>

#include <event2/event.h>

#include "service/log.h"

namespace agent {

struct LoopState {
    event_base *base = nullptr;
    std::array<event *, 2> signals{};
};

struct TimerState {
    event *ev = nullptr;
    std::function<void()> fire;
};

namespace {

void on_signal(evutil_socket_t number, short /*what*/, void *context)
{
    service::log(LOG_NOTICE, "ending on signal %d", static_cast<int>(number));
    event_base_loopbreak(static_cast<event_base *>(context));
}

void on_timer(evutil_socket_t /*fd*/, short /*what*/, void *context)
{
    // The owner may destroy the timer inside the call, hence the move.
    const std::function<void()> fire = std::move(static_cast<TimerState *>(context)->fire);
    fire();
}

} // namespace

void LoopDelete::operator()(LoopState *state) const
{
    for (event *ev : state->signals) {
        if (ev != nullptr) event_free(ev);
    }
    if (state->base != nullptr) event_base_free(state->base);
    delete state;
}

void TimerDelete::operator()(TimerState *state) const
{
    if (state->ev != nullptr) event_free(state->ev);
    delete state;
}

Loop open_loop()
{
    signal(SIGPIPE, SIG_IGN);
    Loop loop(new LoopState);
    loop->base = event_base_new();
    if (loop->base == nullptr) return nullptr;
    const std::array<int, 2> numbers = {SIGTERM, SIGINT};
    for (std::size_t i = 0; i < numbers.size(); i++) {
        loop->signals[i] = evsignal_new(loop->base, numbers[i], on_signal, loop->base);
        if (loop->signals[i] == nullptr || event_add(loop->signals[i], nullptr) != 0) return nullptr;
    }
    return loop;
}

event_base *base_of(const Loop &loop)
{
    return loop->base;
}

bool run_loop(const Loop &loop)
{
    return event_base_dispatch(loop->base) == 0;
}

Timer start_timer(const Loop &loop, std::chrono::milliseconds after, std::function<void()> fire)
{
    Timer timer(new TimerState);
    timer->fire = std::move(fire);
    timer->ev = evtimer_new(loop->base, on_timer, timer.get());
    timeval tv{};
    tv.tv_sec = after.count() / 1000;
    tv.tv_usec = static_cast<suseconds_t>(after.count() % 1000) * 1000;
    if (timer->ev == nullptr || evtimer_add(timer->ev, &tv) != 0) service::log(LOG_ERR, "cannot start a timer");
    return timer;
}

} // namespace agent
