#include <event2/event.h>
#include <gtest/gtest.h>

#include <atomic>
#include <future>

#include "fakes/files.h"
#include "fakes/record.h"
#include "maker.h"
#include "protocol/application.h"
#include "tollan.h"
#include "unit/platform/peer.h"

using fakes::decoded;
using fakes::Events;
using proto::make_number;
using proto::make_text;
using proto::Op;
using proto::ValueType;

namespace {

constexpr std::uint32_t name_space = 0x6b64eac0;

std::atomic<std::promise<void> *> gate; // what the next handler waits for, before it records what it saw

int fail_registration; // what the registration callback returns
int registrations;     // how often it was called
tollan_ctx *handed_out;

template <char table_row>
int on_change(tollan_change_ctx *ctx, int op, int num_keys, confd_value_t *keys, uint16_t num_values,
              confd_tag_value_t *values)
{
    std::string line = {table_row, ' ', static_cast<char>('0' + op)};
    const auto text_of = [](const confd_value_t &v) { return reinterpret_cast<const char *>(v.val.buf.ptr); };
    if (num_keys > 0) line += std::string(" ") + text_of(keys[num_keys - 1]);
    if (num_values > 0) line += std::string(" ") + text_of(values[num_values - 1].v);
    EXPECT_EQ(ctx->handle, handed_out);
    if (std::promise<void> *closed = gate.exchange(nullptr)) closed->get_future().wait();
    fakes::record(line);
    return num_keys > 1 ? 5 : 0;
}

// clang-format off
tollan_subscription subscriptions[] = {
    {0, "interface/GigabitEthernet", on_change<'c'>, {}, name_space, {}, 1, 0x16, 0,    {}},
    {0, "cellular{1}/details",       on_change<'o'>, {}, 7,          {}, 0, 0x16, 0x10, {}},
    {},
};
confd_valpoint_cb validation_points[] = {{"check", nullptr, nullptr}, {}};
// clang-format on

int register_data(tollan_ctx *ctx)
{
    registrations++;
    EXPECT_TRUE(handed_out == ctx && ctx->dx->owner == ctx);
    return fail_registration;
}

int init(event_base *base)
{
    TollanModuleParams params = {};
    params.subscriptions = subscriptions;
    params.validation_points = validation_points;
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
    *record = decoded<proto::Register>(request);
    const proto::RegisterReply names{{{5, "port"}}, {}};
    peer::send_bytes(agent, proto::make_frame(Op::reply, request.id, encode(names)) + then);
    return agent;
}

proto::Deliver delivery(std::uint64_t txid, std::uint32_t index, std::uint16_t row = 0)
{
    return {txid, index, 3, row, MOP_MODIFIED, {}, {}};
}

// The test is the daemon's main thread, but for the time of the call.
struct Init : testing::Test {
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
        EXPECT_TRUE(registrations == 1 && handed_out == nullptr);
    }
    fail_registration = 0;
}

TEST_F(Init, TellsTheAgentItsTablesAndWaitsForTheLoop)
{
    fakes::taken();
    const peer::Handle listener = peer::listen_here();
    auto result = start();
    proto::Register record;
    const std::string early = proto::make_frame(Op::deliver, 9, encode(delivery(1, 0)));
    const peer::Handle agent = accept_registration(listener, &record, early);
    ASSERT_EQ(result.get(), 0);
    EXPECT_TRUE(handed_out->ready != 0 && subscriptions[0].library != 0);
    const std::vector<proto::Subscription> rows = {
        {"interface/GigabitEthernet", name_space, 1, 0x16, 0                    },
        {"cellular{1}/details",       7,          0, 0x16, proto::on_operational},
    };
    EXPECT_EQ(encode(record), encode(proto::Register{record.app, record.instance, 0, 0, rows, {"check"}, {}, {}}));
    EXPECT_STREQ(confd_hash2str(5), "port");
    EXPECT_EQ(fakes::taken(), Events{}) << "before the loop";
    event_base_loop(base, EVLOOP_ONCE);
    EXPECT_EQ(peer::read_message(agent).id, 9U);
    EXPECT_EQ(fakes::taken(), Events{"c 3"});
    tollan_ctx *const ctx = handed_out;
    tollan_module_deinit(ctx);
    EXPECT_TRUE(peer::sees_end(agent));
    EXPECT_NE(tollan_event_send_notification(ctx, nullptr, 0), 0) << "a thread that outlives the module";
}

// Registered and looping on a thread of its own; the test plays the agent.
struct Registered : testing::Test {
    void SetUp() override
    {
        fakes::taken();
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
    std::int32_t deliver(const proto::Deliver &question)
    {
        return decoded<proto::Status>(call(Op::deliver, question)).status;
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
    change.keys = {make_number(ValueType::uint32, 1), make_text(ValueType::buf, "0/0")};
    change.values = {{proto::TagValue{5, 0, make_text(ValueType::buf, "lan")}}};
    EXPECT_EQ(deliver(change), 5) << "the handler's result";
    EXPECT_EQ(deliver(delivery(1, 1, 1)), 0);
    EXPECT_NE(deliver(delivery(1, 2, 2)), 0) << "no such row";
    EXPECT_EQ(call(Op::call_validate, proto::CallValidate{}).op, Op::error) << "no such point";
    EXPECT_EQ(call(Op::call_data, proto::Hello{}).op, Op::error) << "cannot be read";
    EXPECT_EQ(call(Op::get, proto::Hello{}).op, Op::error) << "not an application's";
    EXPECT_EQ(fakes::taken(), (Events{"c 3 0/0 lan", "o 3"}));
}

TEST_F(Registered, AnotherThreadIsHeardWhileAHandlerTakesItsTime)
{
    gate = &release;
    peer::send_message(agent, Op::deliver, 1, encode(delivery(1, 0)));
    peer::send_message(agent, Op::deliver, 2, encode(delivery(1, 1)));
    confd_tag_value_t leaf = {};
    leaf.tag.tag = 5;
    leaf.v.type = C_ENUM_VALUE;
    leaf.v.val.enumvalue = 2;
    EXPECT_EQ(tollan_event_send_notification(ctx, &leaf, 1), 0);
    EXPECT_EQ(kvr_trap_send(ctx, "changed", 1, 2, "a", "1", "b", "2"), 0);
    EXPECT_EQ(decoded<proto::Notify>(peer::read_message(agent)).values.at(0).value,
              make_number(ValueType::enum_value, 2));
    EXPECT_EQ(decoded<proto::Trap>(peer::read_message(agent)).bindings.at(1), (proto::Pair{"b", "2"}));
    EXPECT_EQ(fakes::taken(), Events{}) << "the handler is still at it";
    release.set_value();
    EXPECT_EQ(peer::read_message(agent).id, 1U);
    EXPECT_EQ(peer::read_message(agent).id, 2U) << "what queued meanwhile, in order";
}

TEST_F(Registered, AnAgentThatDoesNotReadGetsWhatWasAcceptedAndNoMore)
{
    const std::string text(60000, 'x');
    int accepted = 0;
    while (accepted < 1000 && kvr_trap_send(ctx, "big", 1, 1, "a", text.c_str()) == 0)
        accepted++;
    EXPECT_LT(accepted, 1000) << "memory without end";
    for (int i = 0; i < accepted; i++)
        ASSERT_EQ(peer::read_message(agent).op, Op::trap) << i;
    EXPECT_EQ(kvr_trap_send(ctx, "small", 1, 0), 0);
    EXPECT_EQ(decoded<proto::Trap>(peer::read_message(agent)).name, "small");
}

TEST_F(Registered, DeliveriesAreCountedOnceAcrossLostConnections)
{
    const std::uint64_t instance = record.instance;
    EXPECT_EQ(deliver(delivery(8, 0)), 0);
    gate = &release;
    peer::send_message(agent, Op::deliver, 5, encode(delivery(8, 1)));
    peer::send_message(agent, Op::deliver, 6, encode(delivery(99, 0, 1)));
    agent = peer::Handle(); // while the handler runs
    release.set_value();
    agent = accept_registration(listener, &record); // the daemon comes back by itself
    EXPECT_EQ(record.instance, instance);
    EXPECT_EQ(record.last_txid, 8U) << "operational changes do not count";
    EXPECT_EQ(record.last_done, 2U) << "the handler has returned, only its answer was lost";
    EXPECT_EQ(registrations, 1);
    peer::send_bytes(agent, "HTTP/1.1 400 Bad Request\r\n\r\n");
    EXPECT_TRUE(peer::sees_end(agent));
    EXPECT_NE(kvr_trap_send(ctx, "lost", 1, 0), 0);
    agent = peer::Handle(accept(listener.fd, nullptr, nullptr)); // hangs up before hello
    agent = peer::Handle();
    agent = accept_registration(listener, &record);
    EXPECT_EQ(deliver(delivery(8, 2)), 0);
    EXPECT_EQ(fakes::taken(), (Events{"c 3", "c 3", "o 3", "c 3"}));
    EXPECT_EQ(kvr_trap_send(ctx, "heard", 1, 0), 0);
}

} // namespace
