#include "unit/platform/daemon.h"

#include <event2/event.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstring>

Calls calls;

namespace {

constexpr std::uint32_t name_space = 0x6b64eac0;

void record(tollan_ctx *ctx, const std::string &line)
{
    std::function<void(tollan_ctx *)> hook;
    {
        const std::lock_guard<std::mutex> guard(calls.lock);
        hook = calls.hook;
    }
    if (hook) hook(ctx);
    const std::lock_guard<std::mutex> guard(calls.lock);
    calls.lines.push_back(line);
}

std::string text_of(const confd_value_t &v)
{
    if (v.type == C_BUF) return reinterpret_cast<const char *>(v.val.buf.ptr);
    return std::to_string(v.type) + ":" + std::to_string(v.val.u32);
}

int on_change(tollan_change_ctx *ctx, int op, int num_keys, confd_value_t *keys, uint16_t num_values,
              confd_tag_value_t *values)
{
    std::string line = "change " + std::to_string(op);
    for (int i = 0; i < num_keys; i++) {
        line += " [" + text_of(keys[i]) + "]";
    }
    for (int i = 0; i < num_values; i++) {
        line += " " + std::to_string(values[i].tag.tag) + "=" + text_of(values[i].v);
    }
    record(ctx->handle, line);
    return num_keys > 1 ? 5 : 0;
}

int on_oper_change(tollan_change_ctx *ctx, int op, int, confd_value_t *, uint16_t, confd_tag_value_t *)
{
    record(ctx->handle, "oper " + std::to_string(op));
    return 0;
}

tollan_ctx *handle_of(const confd_daemon_ctx *dx)
{
    return static_cast<tollan_ctx *>(dx->owner);
}

int on_validate(confd_trans_ctx *tctx, confd_hkeypath_t *kp, confd_value_t *value)
{
    record(handle_of(tctx->dx), "validate " + std::to_string(kp->len) + " " + text_of(*value));
    if (value->val.u32 == 0) return CONFD_OK;
    confd_trans_seterr(tctx, "not %u", value->val.u32);
    return value->val.u32 == 1 ? CONFD_ERR + 0 : CONFD_VALIDATION_WARN + 0;
}

int on_action(confd_user_info *user, confd_xmltag *name, confd_hkeypath_t *, confd_tag_value_t *, int nparams)
{
    record(handle_of(user->dx), "action " + std::to_string(name->tag) + " " + std::to_string(nparams));
    return CONFD_OK;
}

int on_get_elem(confd_trans_ctx *tctx, confd_hkeypath_t *)
{
    record(handle_of(tctx->dx), "get_elem");
    confd_value_t v = {};
    v.type = C_UINT32;
    v.val.u32 = 42;
    return confd_data_reply_value(tctx, &v);
}

tollan_subscription subscriptions[] = {
    {0,           "interface/GigabitEthernet", on_change, {}, name_space, {}, 1, 0x16, 0, {}},
    {0,  "cellular{1}/details", on_oper_change, {}, 7, {}, 0, 0x16, 0x10, {}},
    {         },
};
confd_valpoint_cb validation_points[] = {
    {"check",  on_validate, nullptr},
    {       },
};
confd_action_cbs action_points[] = {
    {"clear",  nullptr, nullptr, on_action, nullptr, nullptr, nullptr},
    {},
};

// Of the initialisation that runs now.
Daemon *registering;
tollan_ctx *handed_out;

int register_data(tollan_ctx *ctx)
{
    registering->registrations++;
    registering->ctx_at_registration = handed_out == ctx && handle_of(ctx->dx) == ctx;
    confd_data_cbs cbs = {};
    std::snprintf(cbs.callpoint, sizeof cbs.callpoint, "numbers");
    cbs.get_elem = on_get_elem;
    EXPECT_EQ(confd_register_data_cb(ctx->dx, &cbs), CONFD_OK);
    return registering->fail_registration;
}

int init_module(Daemon *daemon, event_base *base)
{
    TollanModuleParams params = {};
    params.subscriptions = subscriptions;
    params.validation_points = validation_points;
    params.action_points = action_points;
    params.register_data = register_data;
    params.evbase = base;
    registering = daemon;
    const int result = tollan_module_init(&params, nullptr, &handed_out);
    daemon->ctx = handed_out;
    return result;
}

void run(Daemon *daemon)
{
    event_base *base = event_base_new();
    const int result = init_module(daemon, base);
    daemon->row_word = subscriptions[0].library;
    daemon->result = result;
    while (!daemon->stop) {
        if (daemon->may_loop) event_base_loop(base, EVLOOP_NONBLOCK);
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    tollan_module_deinit(daemon->ctx);
    event_base_free(base);
}

} // namespace

std::vector<std::string> lines_so_far()
{
    const std::lock_guard<std::mutex> guard(calls.lock);
    return calls.lines;
}

void start(Daemon *daemon)
{
    calls.lines.clear();
    calls.hook = nullptr;
    daemon->thread = std::thread(run, daemon);
}

int wait_result(const Daemon &daemon)
{
    for (int i = 0; i < 5000 && daemon.result < 0; i++) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return daemon.result;
}

void finish(Daemon *daemon)
{
    daemon->stop = true;
    daemon->thread.join();
}

peer::Handle accept_registration(const peer::Handle &listener, proto::Register *registration, const std::string &then)
{
    peer::Handle agent = peer::greet(listener, proto::Role::application);
    const peer::Message request = peer::read_message(agent);
    EXPECT_EQ(request.op, proto::Op::register_app);
    EXPECT_TRUE(decode(request.payload, registration));
    proto::RegisterReply names;
    names.tags.push_back({5, "port"});
    peer::send_bytes(agent, proto::make_frame(proto::Op::reply, request.id, encode(names)) + then);
    return agent;
}

proto::Status call_for_status(const peer::Handle &agent, proto::Op op, const std::string &payload)
{
    peer::send_message(agent, op, 78, payload);
    const peer::Message answer = peer::read_message(agent);
    EXPECT_EQ(answer.op, proto::Op::reply);
    EXPECT_EQ(answer.id, 78U);
    proto::Status status;
    status.status = -99;
    EXPECT_TRUE(decode(answer.payload, &status));
    return status;
}

proto::Deliver make_delivery(std::uint64_t txid, std::uint32_t index, std::uint16_t row)
{
    proto::Deliver delivery;
    delivery.txid = txid;
    delivery.index = index;
    delivery.total = 3;
    delivery.row = row;
    delivery.operation = MOP_MODIFIED;
    return delivery;
}
