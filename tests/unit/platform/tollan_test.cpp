#include <event2/event.h>
#include <gtest/gtest.h>
#include <poll.h>

#include <atomic>
#include <functional>
#include <future>
#include <mutex>

#include "fakes/files.h"
#include "maker.h"
#include "platform/confd/names.h"
#include "protocol/application.h"
#include "protocol/data.h"
#include "tollan.h"
#include "unit/platform/peer.h"

using Lines = std::vector<std::string>;
using proto::make_number;
using proto::make_text;
using proto::Op;
using proto::ValueType;

namespace {

constexpr std::uint32_t name_space = 0x6b64eac0;

// What the callbacks saw, one line each; the hook runs inside them, before the line is written.
std::mutex guard;
Lines lines;
std::function<void(tollan_ctx *)> hook;

int fail_registration; // what the registration callback returns
int registrations;     // how often it was called
tollan_ctx *handed_out;

Lines lines_so_far()
{
    const std::lock_guard<std::mutex> lock(guard);
    return lines;
}

void set_hook(std::function<void(tollan_ctx *)> next)
{
    const std::lock_guard<std::mutex> lock(guard);
    hook = std::move(next);
}

void record(void *owner, const std::string &line)
{
    std::unique_lock<std::mutex> lock(guard);
    const auto run = hook;
    lock.unlock();
    if (run) run(static_cast<tollan_ctx *>(owner));
    lock.lock();
    lines.push_back(line);
}

std::string text_of(const confd_value_t &v)
{
    if (v.type == C_BUF) return reinterpret_cast<const char *>(v.val.buf.ptr);
    return std::to_string(v.type) + ":" + std::to_string(v.val.u32);
}

template <char table_row>
int on_change(tollan_change_ctx *ctx, int op, int num_keys, confd_value_t *keys, uint16_t num_values,
              confd_tag_value_t *values)
{
    std::string line = {table_row, ' ', static_cast<char>('0' + op)};
    for (int i = 0; i < num_keys; i++) {
        line += " [" + text_of(keys[i]) + "]";
    }
    for (int i = 0; i < num_values; i++) {
        line += " " + std::to_string(values[i].tag.tag) + "=" + text_of(values[i].v);
    }
    record(ctx->handle, line);
    return num_keys > 1 ? 5 : 0;
}

int on_validate(confd_trans_ctx *tctx, confd_hkeypath_t *kp, confd_value_t *value)
{
    record(tctx->dx->owner, "validate " + std::to_string(kp->len) + " " + text_of(*value));
    if (value->val.u32 == 0) return CONFD_OK;
    confd_trans_seterr(tctx, "not %u", value->val.u32);
    return value->val.u32 == 1 ? CONFD_ERR + 0 : CONFD_VALIDATION_WARN + 0;
}

int on_action(confd_user_info *user, confd_xmltag *name, confd_hkeypath_t *, confd_tag_value_t *, int nparams)
{
    record(user->dx->owner, "action " + std::to_string(name->tag) + " " + std::to_string(nparams));
    return CONFD_OK;
}

int on_get_elem(confd_trans_ctx *tctx, confd_hkeypath_t *)
{
    record(tctx->dx->owner, "get_elem");
    confd_value_t v = {};
    v.type = C_UINT32;
    v.val.u32 = 42;
    return confd_data_reply_value(tctx, &v);
}

// clang-format off
tollan_subscription subscriptions[] = {
    {0, "interface/GigabitEthernet", on_change<'c'>, {}, name_space, {}, 1, 0x16, 0,    {}},
    {0, "cellular{1}/details",       on_change<'o'>, {}, 7,          {}, 0, 0x16, 0x10, {}},
    {},
};
confd_valpoint_cb validation_points[] = {{"check", on_validate, nullptr}, {}};
confd_action_cbs action_points[] = {{"clear", nullptr, nullptr, on_action, nullptr, nullptr, nullptr}, {}};
// clang-format on

int register_data(tollan_ctx *ctx)
{
    registrations++;
    EXPECT_TRUE(handed_out == ctx && ctx->dx->owner == ctx);
    confd_data_cbs cbs = {};
    std::snprintf(cbs.callpoint, sizeof cbs.callpoint, "numbers");
    cbs.get_elem = on_get_elem;
    EXPECT_EQ(confd_register_data_cb(ctx->dx, &cbs), CONFD_OK);
    return fail_registration;
}

int init(event_base *base)
{
    TollanModuleParams params = {};
    params.subscriptions = subscriptions;
    params.validation_points = validation_points;
    params.action_points = action_points;
    params.register_data = register_data;
    params.evbase = base;
    registrations = 0;
    return tollan_module_init(&params, nullptr, &handed_out);
}

// The agent's side of hello and registration. `then` is sent in one piece with the answer.
peer::Handle accept_registration(const peer::Handle &listener, proto::Register *record, const std::string &then = {})
{
    peer::Handle agent = peer::greet(listener, proto::Role::application);
    const peer::Message request = peer::read_message(agent);
    EXPECT_EQ(request.op, Op::register_app);
    EXPECT_TRUE(decode(request.payload, record));
    proto::RegisterReply names;
    names.tags.push_back({5, "port"});
    peer::send_bytes(agent, proto::make_frame(Op::reply, request.id, encode(names)) + then);
    return agent;
}

proto::Deliver delivery(std::uint64_t txid, std::uint32_t index, std::uint16_t row = 0)
{
    proto::Deliver out;
    out.txid = txid;
    out.index = index;
    out.total = 3;
    out.row = row;
    out.operation = MOP_MODIFIED;
    return out;
}

// The test is the daemon's main thread, but for the time of the call.
class Init : public testing::Test {
protected:
    event_base *base = event_base_new();
    const std::ptrdiff_t before = fakes::open_descriptors();
    std::future<int> start() { return std::async(std::launch::async, init, base); }
    void TearDown() override
    {
        EXPECT_EQ(fakes::open_descriptors(), before) << "left behind";
        event_base_free(base);
    }
};

TEST_F(Init, FailsWithoutAnAnswerAndWhenRegistrationIsRefused)
{
    EXPECT_EQ(init(base), 1) << "no agent";
    EXPECT_EQ(registrations, 0);
    const peer::Handle listener = peer::listen_here();
    EXPECT_EQ(init(base), 1) << "a silent agent";
    peer::Handle agent(accept(listener.fd, nullptr, nullptr));
    for (const int own : {0, 1}) { // by the agent, or because the daemon's own providers cannot be registered
        fail_registration = own;
        auto result = start();
        agent = peer::greet(listener, proto::Role::application);
        if (own == 0) peer::refuse(agent, proto::ErrorCode::in_use, "", "taken");
        EXPECT_TRUE(peer::sees_end(agent)) << "instead of a registration";
        EXPECT_EQ(result.get(), 1);
        EXPECT_EQ(registrations, 1);
        EXPECT_EQ(handed_out, nullptr);
    }
    fail_registration = 0;
}

TEST_F(Init, TellsTheAgentTheWholeTablesAndWaitsForTheLoop)
{
    lines.clear();
    const peer::Handle listener = peer::listen_here();
    auto result = start();
    proto::Register record;
    const std::string early = proto::make_frame(Op::deliver, 9, encode(delivery(1, 0)));
    const peer::Handle agent = accept_registration(listener, &record, early);
    ASSERT_EQ(result.get(), 0);
    EXPECT_NE(handed_out->ready, 0U);
    EXPECT_NE(subscriptions[0].library, 0U);
    ASSERT_EQ(record.subscriptions.size(), 2U);
    EXPECT_EQ(record.subscriptions[0].path, "interface/GigabitEthernet");
    EXPECT_EQ(record.subscriptions[0].ns, name_space);
    EXPECT_EQ(record.subscriptions[0].priority, 1);
    EXPECT_EQ(record.subscriptions[1].oper, proto::on_operational);
    EXPECT_EQ(record.validation_points, Lines{"check"});
    EXPECT_EQ(record.action_points, Lines{"clear"});
    ASSERT_EQ(record.callpoints.size(), 1U);
    EXPECT_EQ(record.callpoints[0].name, "numbers");
    EXPECT_EQ(record.callpoints[0].calls, 1U << static_cast<unsigned>(proto::DataCall::get_elem));
    EXPECT_EQ(record.last_txid, 0U);
    EXPECT_STREQ(confd_hash2str(5), "port");
    pollfd p = {agent.fd, POLLIN, 0};
    EXPECT_EQ(poll(&p, 1, 50), 0) << "answered";
    EXPECT_TRUE(lines_so_far().empty());
    event_base_loop(base, EVLOOP_ONCE);
    EXPECT_EQ(peer::read_message(agent).id, 9U);
    EXPECT_EQ(lines_so_far(), Lines{"c 3"});
    tollan_ctx *const ctx = handed_out;
    tollan_module_deinit(ctx);
    EXPECT_TRUE(peer::sees_end(agent));
    EXPECT_NE(tollan_event_send_notification(ctx, nullptr, 0), 0) << "a thread that outlives the module";
}

// Registered and looping on a thread of its own; the test plays the agent.
class Registered : public testing::Test {
protected:
    void SetUp() override
    {
        lines.clear();
        hook = nullptr;
        daemon = std::thread([this] {
            event_base *base = event_base_new();
            result.set_value(init(base));
            while (!stop) {
                event_base_loop(base, EVLOOP_NONBLOCK);
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
            tollan_module_deinit(handed_out);
            event_base_free(base);
        });
        agent = accept_registration(listener, &record);
        ASSERT_EQ(result.get_future().get(), 0);
        ctx = handed_out;
    }
    void TearDown() override
    {
        stop = true;
        daemon.join();
    }
    // Sends a call and reads its answer.
    template <typename Record> peer::Message call(Op op, const Record &question)
    {
        peer::send_message(agent, op, 78, encode(question));
        peer::Message answer = peer::read_message(agent);
        EXPECT_EQ(answer.id, 78U);
        return answer;
    }
    template <typename Record> proto::Status status(Op op, const Record &question)
    {
        proto::Status out;
        EXPECT_TRUE(decode(call(op, question).payload, &out));
        return out;
    }
    // The next handler waits for it.
    void hold_handler()
    {
        set_hook([this](tollan_ctx *) {
            release.get_future().wait();
            set_hook(nullptr);
        });
    }

    std::promise<int> result;
    std::promise<void> release;
    std::atomic<bool> stop{false};
    std::thread daemon;
    peer::Handle listener = peer::listen_here();
    proto::Register record;
    peer::Handle agent;
    tollan_ctx *ctx = nullptr;
};

TEST_F(Registered, DeliveriesReachTheHandlerOfTheirRow)
{
    proto::Deliver change = delivery(1, 0);
    change.keys = {make_text(ValueType::buf, "0/0")};
    change.values = {
        {5, 0, make_text(ValueType::buf,      "lan")},
        {6, 0, make_number(ValueType::uint32, 7)    }
    };
    EXPECT_EQ(status(Op::deliver, change).status, 0);
    change.keys.push_back(make_number(ValueType::uint32, 1));
    change.values.clear();
    change.operation = MOP_DELETED;
    EXPECT_EQ(status(Op::deliver, change).status, 5) << "the handler's result";
    EXPECT_EQ(status(Op::deliver, delivery(1, 1, 1)).status, 0);
    EXPECT_NE(status(Op::deliver, delivery(1, 2, 2)).status, 0) << "no such row";
    EXPECT_EQ(lines_so_far(), (Lines{"c 3 [0/0] 5=lan 6=12:7", "c 2 [0/0] [12:1]", "o 3"}));
}

TEST_F(Registered, CallsReachTheirPointAndSayWhy)
{
    proto::CallValidate question;
    question.point = "check";
    question.path.resize(2);
    const std::pair<int, const char *> results[] = {
        {CONFD_OK,              ""     },
        {CONFD_ERR,             "not 1"},
        {CONFD_VALIDATION_WARN, "not 2"}
    };
    for (int i = 0; i < 3; i++) {
        question.value = make_number(ValueType::uint32, i);
        const proto::Status answer = status(Op::call_validate, question);
        EXPECT_EQ(answer.status, results[i].first);
        EXPECT_EQ(answer.text, results[i].second);
    }
    question.point = "other";
    EXPECT_EQ(call(Op::call_validate, question).op, Op::error);
    proto::CallAction action;
    action.point = "clear";
    action.path.resize(1);
    action.path[0].tag = 55;
    EXPECT_EQ(status(Op::call_action, action).status, 0);
    proto::CallData data;
    data.callpoint = "numbers";
    proto::DataReply reply;
    EXPECT_TRUE(decode(call(Op::call_data, data).payload, &reply));
    EXPECT_EQ(reply.value.number, 42);
    EXPECT_EQ(lines_so_far(),
              (Lines{"validate 2 12:0", "validate 2 12:1", "validate 2 12:2", "action 55 0", "get_elem"}));
    for (const Op op : {Op::call_data, Op::get}) { // cannot be read; not served by an application
        peer::send_message(agent, op, 3, "x");
        EXPECT_EQ(peer::read_message(agent).op, Op::error);
    }
}

TEST_F(Registered, AnotherThreadIsHeardWhileAHandlerTakesItsTime)
{
    hold_handler();
    peer::send_message(agent, Op::deliver, 1, encode(delivery(1, 0)));
    peer::send_message(agent, Op::deliver, 2, encode(delivery(1, 1)));
    confd_tag_value_t leaf = {};
    leaf.tag.tag = 5;
    leaf.v.type = C_ENUM_VALUE;
    leaf.v.val.enumvalue = 2;
    EXPECT_EQ(tollan_event_send_notification(ctx, &leaf, 1), 0);
    EXPECT_EQ(kvr_trap_send(ctx, "changed", 1, 2, "a", "1", "b", "2"), 0);
    proto::Notify notification;
    EXPECT_TRUE(decode(peer::read_message(agent).payload, &notification));
    EXPECT_EQ(notification.values.at(0).value, make_number(ValueType::enum_value, 2));
    proto::Trap trap;
    EXPECT_TRUE(decode(peer::read_message(agent).payload, &trap));
    EXPECT_EQ(trap.bindings, (std::vector{
                                 proto::Pair{"a", "1"},
                                 proto::Pair{"b", "2"}
    }));
    EXPECT_TRUE(lines_so_far().empty()) << "the handler is still at it";
    release.set_value();
    EXPECT_EQ(peer::read_message(agent).id, 1U);
    EXPECT_EQ(peer::read_message(agent).id, 2U) << "what queued meanwhile, in order";
}

TEST_F(Registered, AnAgentThatDoesNotReadGetsWhatWasAcceptedAndNoMore)
{
    const std::string text(60000, 'x');
    int accepted = 0;
    while (accepted < 1000 && kvr_trap_send(ctx, "big", 1, 1, "a", text.c_str()) == 0) {
        accepted++;
    }
    EXPECT_LT(accepted, 1000) << "memory without end";
    for (int i = 0; i < accepted; i++) {
        ASSERT_EQ(peer::read_message(agent).op, Op::trap) << i;
    }
    EXPECT_EQ(kvr_trap_send(ctx, "small", 1, 0), 0);
    proto::Trap trap;
    EXPECT_TRUE(decode(peer::read_message(agent).payload, &trap));
    EXPECT_EQ(trap.name, "small");
}

TEST_F(Registered, DeliveriesAreCountedOnceAcrossLostConnections)
{
    const std::uint64_t instance = record.instance;
    EXPECT_EQ(status(Op::deliver, delivery(8, 0)).status, 0);
    hold_handler();
    peer::send_message(agent, Op::deliver, 5, encode(delivery(8, 1)));
    peer::send_message(agent, Op::deliver, 6, encode(delivery(99, 0, 1)));
    agent = peer::Handle(); // while the handler runs
    release.set_value();
    agent = accept_registration(listener, &record); // the daemon comes back by itself
    EXPECT_EQ(record.instance, instance);
    EXPECT_EQ(record.last_txid, 8U) << "operational changes do not count";
    EXPECT_EQ(record.last_done, 2U) << "the handler has returned, only its answer was lost";
    EXPECT_EQ(record.subscriptions.size(), 2U);
    EXPECT_EQ(record.callpoints.size(), 1U);
    EXPECT_EQ(registrations, 1);
    peer::send_bytes(agent, "HTTP/1.1 400 Bad Request\r\n\r\n");
    EXPECT_TRUE(peer::sees_end(agent));
    EXPECT_NE(kvr_trap_send(ctx, "lost", 1, 0), 0);
    agent = peer::Handle(accept(listener.fd, nullptr, nullptr)); // hangs up before hello
    agent = peer::Handle();
    agent = accept_registration(listener, &record);
    EXPECT_EQ(status(Op::deliver, delivery(8, 2)).status, 0);
    EXPECT_EQ(lines_so_far(), (Lines{"c 3", "c 3", "o 3", "c 3"}));
    EXPECT_EQ(kvr_trap_send(ctx, "heard", 1, 0), 0);
}

std::string read_text(tollan_ctx *ctx, const char *path)
{
    confd_value_t value;
    if (tollan_read_val(ctx, path, &value) != 0) return "error " + std::to_string(confd_errno);
    std::string text;
    if (value.type == C_BUF) text = text_of(value);
    if (value.type == C_LIST && value.val.list.size == 2) text = "list " + text_of(value.val.list.ptr[1]);
    tollan_release_val(&value);
    EXPECT_EQ(value.type, C_NOEXISTS);
    return text;
}

void serve_read(const peer::Handle &agent, const proto::Value &value)
{
    proto::CdbStart session;
    EXPECT_TRUE(decode(peer::serve_payload(agent, Op::cdb_start, {}).payload, &session));
    EXPECT_EQ(session.database, proto::Database::running);
    if (value.type == proto::Value{}.type) {
        peer::refuse(agent, proto::ErrorCode::not_exists, "/none", "no value");
    } else {
        peer::serve(agent, Op::cdb_get, proto::CdbValue{value});
    }
    peer::serve_payload(agent, Op::cdb_end, {});
}

TEST_F(Registered, ReadsFromInsideACallbackOverAConnectionOfItsOwn)
{
    Lines texts;
    set_hook([&](tollan_ctx *owner) {
        for (const char *path : {"/a", "/none", "/empty", "/list"}) {
            texts.push_back(read_text(owner, path));
        }
    });
    peer::send_message(agent, Op::deliver, 1, encode(delivery(1, 0)));
    {
        const peer::Handle data = peer::greet(listener, proto::Role::data);
        serve_read(data, make_text(ValueType::buf, "lan"));
        serve_read(data, {});
    } // the agent restarts
    const peer::Handle data = peer::greet(listener, proto::Role::data);
    serve_read(data, make_text(ValueType::buf, ""));
    proto::Value list = make_number(ValueType::list, 0);
    list.list = {make_text(ValueType::buf, "one"), make_text(ValueType::buf, "two")};
    serve_read(data, list);
    EXPECT_EQ(peer::read_message(agent).id, 1U);
    EXPECT_EQ(lines_so_far(), Lines{"c 3"});
    EXPECT_EQ(texts, (Lines{"lan", "error " + std::to_string(CONFD_ERR_NOEXISTS), "", "list two"}));
}

} // namespace
