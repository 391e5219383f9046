#include "platform/tollan/connection.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <syslog.h>

#include <algorithm>
#include <cerrno>

#include "platform/confd/names.h"
#include "platform/tollan/dispatch.h"
#include "platform/tollan/registration.h"

namespace tollan {

namespace {

constexpr int max_retry_seconds = 30;
constexpr int attempt_seconds = 10; // for connect, hello and registration together
constexpr std::uint32_t hello_id = 1;
constexpr std::uint32_t register_id = 2;

bool is_answer(const proto::Frame &frame, std::uint32_t id)
{
    if (frame.op == proto::Op::reply && frame.id == id) return true;
    proto::Error error;
    if (frame.op == proto::Op::error && decode(frame.payload, &error)) {
        syslog(LOG_ERR, "the management agent refuses: %s", error.text.c_str());
    }
    return false;
}

void take_hello(Module *module, const proto::Frame &frame)
{
    proto::HelloReply reply;
    if (!is_answer(frame, hello_id) || !decode(frame.payload, &reply) || reply.version != proto::version) {
        module->broken = true;
        return;
    }
    set_state(&module->link, State::greeted);
    if (!module->held) send_registration(module);
}

void take_registration(Module *module, const proto::Frame &frame)
{
    proto::RegisterReply reply;
    if (!is_answer(frame, register_id) || !decode(frame.payload, &reply)) {
        module->broken = true;
        return;
    }
    confd::learn_names(reply.namespaces);
    confd::learn_names(reply.tags);
    set_state(&module->link, State::up);
    module->retry_seconds = 1;
    if (module->held) return;
    evtimer_del(module->timer.get());
    syslog(LOG_NOTICE, "registered with the management agent again");
}

void take_frame(Module *module, const proto::Frame &frame)
{
    switch (module->link.state) {
    case State::greeting:
        take_hello(module, frame);
        break;
    case State::registering:
        take_registration(module, frame);
        break;
    case State::up:
        dispatch(module, frame);
        break;
    default: // nothing was asked
        module->broken = true;
        break;
    }
}

// Before the loop runs, what follows a finished step waits.
bool must_wait(const Module &module)
{
    return module.held && (module.link.state == State::greeted || module.link.state == State::up);
}

void take_frames(Module *module)
{
    std::size_t at = 0;
    while (!module->broken && !must_wait(*module)) {
        proto::Frame frame;
        std::size_t used = 0;
        const proto::Parse parse = proto::next_frame(std::string_view(module->link.in).substr(at), &frame, &used);
        if (parse == proto::Parse::malformed) module->broken = true;
        if (parse != proto::Parse::complete) break;
        at += used;
        take_frame(module, frame);
    }
    module->link.in.erase(0, at);
}

// Whole frames that came before the end of the connection still count.
void read_on(Module *module)
{
    const bool alive = receive(&module->link);
    take_frames(module);
    if (!alive) module->broken = true;
}

// True when output is left.
bool write_on(Module *module)
{
    if (module->link.state == State::connecting) {
        if (!link_connected(module->link)) {
            module->broken = true;
            return false;
        }
        set_state(&module->link, State::greeting);
        post(&module->link, proto::Op::hello, hello_id, confd::hello_payload(proto::Role::application));
    }
    return flush(&module->link);
}

void start_timer(Module *module, int seconds)
{
    const timeval delay = {seconds, 0};
    evtimer_add(module->timer.get(), &delay);
}

void give_up(Module *module)
{
    module->reader.reset();
    module->writer.reset();
    close_link(&module->link);
    module->broken = false;
    start_timer(module, module->retry_seconds);
    module->retry_seconds = std::min(2 * module->retry_seconds, max_retry_seconds);
}

void give_up_if_broken(Module *module)
{
    if (!module->broken) return;
    if (module->link.state == State::up) {
        syslog(LOG_WARNING, "lost the management agent, trying again in %d s", module->retry_seconds);
    }
    give_up(module);
}

// noexcept: an exception must not pass through libevent, which is C.
void on_readable(evutil_socket_t, short, void *arg) noexcept
{
    auto *module = static_cast<Module *>(arg);
    read_on(module);
    give_up_if_broken(module);
}

void on_writable(evutil_socket_t, short, void *arg) noexcept
{
    auto *module = static_cast<Module *>(arg);
    if (write_on(module)) event_add(module->writer.get(), nullptr);
    give_up_if_broken(module);
}

void on_wake(evutil_socket_t fd, short, void *arg) noexcept
{
    auto *module = static_cast<Module *>(arg);
    eventfd_t count = 0;
    eventfd_read(fd, &count);
    if (module->writer && flush(&module->link)) event_add(module->writer.get(), nullptr);
}

bool watch_link(Module *module)
{
    event_base *base = module->params.evbase;
    module->reader.reset(event_new(base, module->link.fd, EV_READ | EV_PERSIST, on_readable, module));
    module->writer.reset(event_new(base, module->link.fd, EV_WRITE, on_writable, module));
    return module->reader && module->writer && event_add(module->reader.get(), nullptr) == 0 &&
           event_add(module->writer.get(), nullptr) == 0;
}

void on_timer(evutil_socket_t, short, void *arg) noexcept
{
    auto *module = static_cast<Module *>(arg);
    const bool overdue = module->link.state != State::closed;
    if (overdue || !open_link(&module->link) || !watch_link(module)) {
        give_up(module);
    } else {
        start_timer(module, attempt_seconds);
    }
}

} // namespace

bool drive(Module *module, State wanted, confd::Deadline deadline)
{
    if (module->link.state == State::closed && !open_link(&module->link)) return false;
    while (!module->broken && module->link.state < wanted) {
        const bool writing = module->link.state == State::connecting || !module->link.out.empty();
        pollfd p = {module->link.fd, static_cast<short>(writing ? POLLIN | POLLOUT : POLLIN), 0};
        const int wait_ms = confd::remaining_ms(deadline);
        const int ready = poll(&p, 1, wait_ms);
        if (ready < 0 && errno == EINTR) continue;
        if (ready <= 0 || wait_ms == 0) return false;
        if ((p.revents & POLLOUT) != 0) write_on(module);
        if ((p.revents & ~POLLOUT) != 0) read_on(module);
    }
    return !module->broken;
}

void send_registration(Module *module)
{
    set_state(&module->link, State::registering);
    post(&module->link, proto::Op::register_app, register_id, encode(make_registration(*module)));
}

bool run_on_loop(Module *module)
{
    event_base *base = module->params.evbase;
    module->timer.reset(evtimer_new(base, on_timer, module));
    module->waker.reset(event_new(base, module->link.wake_fd, EV_READ | EV_PERSIST, on_wake, module));
    if (!module->timer || !module->waker || event_add(module->waker.get(), nullptr) != 0) return false;
    if (!watch_link(module)) return false;
    module->held = false;
    event_active(module->reader.get(), EV_READ, 0); // deliveries may have come with the registration's answer
    return true;
}

} // namespace tollan
