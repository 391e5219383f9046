#include "platform/tollan/module.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <mutex>

#include "platform/confd/convert.h"
#include "platform/confd/errors.h"
#include "platform/tollan/connection.h"
#include "platform/tollan/read_val.h"
#include "platform/tollan/registration.h"
#include "platform/tollan/uplink.h"
#include "protocol/application.h"

static_assert(offsetof(tollan_ctx, dx) == 112);
static_assert(offsetof(tollan_change_ctx, handle) == 0 && offsetof(confd_daemon_ctx, owner) == 0);

namespace tollan {

namespace {

constexpr int init_seconds = 2;

// The one registered module. Threads that send may outlive it, so they come here first.
std::mutex live_lock;
Module *live;

// False when there is one already.
bool publish(Module *module)
{
    const std::lock_guard<std::mutex> guard(live_lock);
    if (live) return false;
    live = module;
    return true;
}

void withdraw(Module *module)
{
    const std::lock_guard<std::mutex> guard(live_lock);
    if (live == module) live = nullptr;
}

Module *make_module(const TollanModuleParams &params)
{
    auto *module = new Module;
    module->params = params;
    module->rows = count_rows(params.subscriptions);
    for (std::size_t i = 0; i < module->rows; i++) {
        params.subscriptions[i].library = i + 1;
    }
    module->handle.dx = &module->dx.handle;
    module->dx.handle.owner = &module->handle;
    module->link.wake_fd = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    return module;
}

void destroy(Module *module)
{
    withdraw(module);
    module->handle.ready = 0;
    close_link(&module->link);
    if (module->link.wake_fd >= 0) close(module->link.wake_fd);
    for (std::size_t i = 0; i < module->rows; i++) {
        module->params.subscriptions[i].library = 0;
    }
    delete module;
}

bool attach(Module *module)
{
    const confd::Deadline deadline = confd::in_seconds(init_seconds);
    if (module->link.wake_fd < 0 || !drive(module, State::greeted, deadline)) return false;
    if (module->params.register_data && module->params.register_data(&module->handle) != 0) return false;
    send_registration(module);
    return drive(module, State::up, deadline) && run_on_loop(module) && publish(module);
}

} // namespace

bool send_up(tollan_ctx *ctx, proto::Op op, std::string_view payload)
{
    const std::lock_guard<std::mutex> guard(live_lock);
    return live && &live->handle == ctx && post_if_up(&live->link, op, payload);
}

} // namespace tollan

int tollan_module_init(const struct TollanModuleParams *params, void *, struct tollan_ctx **ctx)
{
    tollan::Module *module = tollan::make_module(*params);
    *ctx = &module->handle;
    if (!tollan::attach(module)) {
        *ctx = nullptr;
        tollan::destroy(module);
        return 1;
    }
    module->handle.ready = 1;
    return 0;
}

void tollan_module_deinit(struct tollan_ctx *ctx)
{
    if (!ctx) return;
    tollan::destroy(reinterpret_cast<tollan::Module *>(ctx));
    tollan::close_read_socket();
}

int tollan_event_send_notification(struct tollan_ctx *ctx, const confd_tag_value_t *values, int n)
{
    proto::Notify notification;
    if (!confd::from_c(values, n, &notification.values)) {
        return confd::fail(CONFD_ERR_BADTYPE, "the notification holds a value that cannot be sent");
    }
    if (tollan::send_up(ctx, proto::Op::notify, encode(notification))) return CONFD_OK;
    return confd::fail(CONFD_ERR_OS, "the management agent is not connected");
}
