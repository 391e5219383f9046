// The event loop, its timers and the signals that end it.
#ifndef GW_AGENT_LOOP_H
#define GW_AGENT_LOOP_H

#include <chrono>
#include <functional>
#include <memory>

struct event_base;

namespace agent {

struct LoopState;
struct TimerState;
struct LoopDelete {
    void operator()(LoopState *state) const;
};
struct TimerDelete {
    void operator()(TimerState *state) const;
};

using Loop = std::unique_ptr<LoopState, LoopDelete>;
// A timer that is reset or assigned over never fires; it may be reset while it fires.
using Timer = std::unique_ptr<TimerState, TimerDelete>;

// SIGTERM and SIGINT end the loop, SIGPIPE is ignored. Null when the kernel refuses.
Loop open_loop();
event_base *base_of(const Loop &loop);
// Until a signal. False when the loop itself failed.
bool run_loop(const Loop &loop);

// Fires once, from the loop, never from within the call.
Timer start_timer(const Loop &loop, std::chrono::milliseconds after, std::function<void()> fire);

} // namespace agent

#endif
