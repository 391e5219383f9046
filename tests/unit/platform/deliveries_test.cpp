#include <gtest/gtest.h>

#include <future>

#include "maker.h"
#include "unit/platform/daemon.h"

using proto::make_number;
using proto::make_text;
using proto::Op;
using proto::ValueType;

namespace {

// Registered and looping; the test plays the agent.
class Deliveries : public testing::Test {
protected:
    void SetUp() override
    {
        start(&daemon);
        agent = accept_registration(listener, &record);
        ASSERT_EQ(wait_result(daemon), 0);
    }
    void TearDown() override { finish(&daemon); }
    void set_hook(std::function<void(tollan_ctx *)> hook)
    {
        const std::lock_guard<std::mutex> guard(calls.lock);
        calls.hook = std::move(hook);
    }
    // The daemon comes back by itself.
    void accept_again() { agent = accept_registration(listener, &record); }

    peer::Handle listener = peer::listen_here();
    Daemon daemon;
    proto::Register record;
    peer::Handle agent;
};

TEST_F(Deliveries, ReachTheHandlerOfTheirRow)
{
    proto::Deliver delivery = make_delivery(1, 0);
    delivery.keys = {make_text(ValueType::buf, "0/0")};
    delivery.values = {
        {5, 0, make_text(ValueType::buf,      "lan")},
        {6, 0, make_number(ValueType::uint32, 7)    }
    };
    EXPECT_EQ(call_for_status(agent, Op::deliver, encode(delivery)).status, 0);
    delivery.keys.push_back(make_number(ValueType::uint32, 1));
    delivery.values.clear();
    delivery.operation = MOP_DELETED;
    EXPECT_EQ(call_for_status(agent, Op::deliver, encode(delivery)).status, 5) << "the handler's result";
    EXPECT_EQ(call_for_status(agent, Op::deliver, encode(make_delivery(1, 1, oper_row))).status, 0);
    EXPECT_NE(call_for_status(agent, Op::deliver, encode(make_delivery(1, 2, 2))).status, 0) << "no such row";
    const std::vector<std::string> expected = {"change 3 [0/0] 5=lan 6=12:7", "change 2 [0/0] [12:1]", "oper 3"};
    EXPECT_EQ(lines_so_far(), expected);
}

TEST_F(Deliveries, ValidationSaysWhy)
{
    proto::CallValidate question;
    question.point = "check";
    question.path.resize(2);
    const char *texts[] = {"", "not 1", "not 2"};
    const int results[] = {CONFD_OK, CONFD_ERR, CONFD_VALIDATION_WARN};
    for (int i = 0; i < 3; i++) {
        question.value = make_number(ValueType::uint32, i);
        const proto::Status status = call_for_status(agent, Op::call_validate, encode(question));
        EXPECT_EQ(status.status, results[i]);
        EXPECT_EQ(status.text, texts[i]);
    }
    EXPECT_EQ(lines_so_far().front(), "validate 2 12:0");
    question.point = "other";
    EXPECT_EQ(call(agent, Op::call_validate, question).op, Op::error);
}

TEST_F(Deliveries, ActionsAndDataCalls)
{
    proto::CallAction action;
    action.point = "clear";
    action.path.resize(1);
    action.path[0].tag = 55;
    EXPECT_EQ(call_for_status(agent, Op::call_action, encode(action)).status, 0);
    proto::CallData question;
    question.callpoint = "numbers";
    proto::DataReply reply;
    EXPECT_TRUE(decode(call(agent, Op::call_data, question).payload, &reply));
    EXPECT_EQ(reply.value.number, 42);
    EXPECT_EQ(lines_so_far(), (std::vector<std::string>{"action 55 0", "get_elem"}));
    peer::send_message(agent, Op::call_data, 3, "x");
    EXPECT_EQ(peer::read_message(agent).op, Op::error) << "cannot be read";
    peer::send_message(agent, Op::get, 4, "");
    EXPECT_EQ(peer::read_message(agent).op, Op::error) << "not served by an application";
}

TEST_F(Deliveries, AnotherThreadIsHeardWhileAHandlerTakesItsTime)
{
    std::promise<void> release;
    set_hook([&](tollan_ctx *) {
        release.get_future().wait();
        set_hook(nullptr);
    });
    peer::send_message(agent, Op::deliver, 1, encode(make_delivery(1, 0)));
    peer::send_message(agent, Op::deliver, 2, encode(make_delivery(1, 1)));
    confd_tag_value_t leaf = {};
    leaf.tag.tag = 5;
    leaf.v.type = C_ENUM_VALUE;
    leaf.v.val.enumvalue = 2;
    EXPECT_EQ(tollan_event_send_notification(daemon.ctx, &leaf, 1), 0);
    EXPECT_EQ(kvr_trap_send(daemon.ctx, "changed", 1, 2, "a", "1", "b", "2"), 0);
    proto::Notify notification;
    EXPECT_TRUE(decode(peer::read_message(agent).payload, &notification));
    EXPECT_EQ(notification.values.at(0).value, make_number(ValueType::enum_value, 2));
    proto::Trap trap;
    EXPECT_TRUE(decode(peer::read_message(agent).payload, &trap));
    EXPECT_EQ(trap.bindings, (std::vector<proto::Pair>{
                                 {"a", "1"},
                                 {"b", "2"}
    }));
    EXPECT_TRUE(lines_so_far().empty()) << "the handler is still at it";
    release.set_value();
    EXPECT_EQ(peer::read_message(agent).id, 1U);
    EXPECT_EQ(peer::read_message(agent).id, 2U) << "what queued meanwhile, in order";
}

TEST_F(Deliveries, AnAgentThatDoesNotReadGetsWhatWasAcceptedAndNoMore)
{
    const std::string text(60000, 'x');
    int accepted = 0;
    while (accepted < 1000 && kvr_trap_send(daemon.ctx, "big", 1, 1, "a", text.c_str()) == 0) {
        accepted++;
    }
    EXPECT_LT(accepted, 1000) << "memory without end";
    for (int i = 0; i < accepted; i++) {
        ASSERT_EQ(peer::read_message(agent).op, Op::trap) << i;
    }
    EXPECT_EQ(kvr_trap_send(daemon.ctx, "small", 1, 0), 0);
    proto::Trap trap;
    EXPECT_TRUE(decode(peer::read_message(agent).payload, &trap));
    EXPECT_EQ(trap.name, "small");
}

TEST_F(Deliveries, AreCountedOnceAcrossALostConnection)
{
    const std::uint64_t instance = record.instance;
    EXPECT_EQ(call_for_status(agent, Op::deliver, encode(make_delivery(8, 0))).status, 0);
    std::promise<void> release;
    set_hook([&](tollan_ctx *) {
        release.get_future().wait();
        set_hook(nullptr);
    });
    peer::send_message(agent, Op::deliver, 5, encode(make_delivery(8, 1)));
    peer::send_message(agent, Op::deliver, 6, encode(make_delivery(99, 0, oper_row)));
    agent = peer::Handle(); // while the handler runs
    release.set_value();
    accept_again();
    EXPECT_EQ(record.instance, instance);
    EXPECT_EQ(record.last_txid, 8U) << "operational changes do not count";
    EXPECT_EQ(record.last_done, 2U) << "the handler has returned, only its answer was lost";
    EXPECT_EQ(record.subscriptions.size(), 2U);
    EXPECT_EQ(record.callpoints.size(), 1U);
    EXPECT_EQ(daemon.registrations, 1);
    EXPECT_EQ(call_for_status(agent, Op::deliver, encode(make_delivery(8, 2))).status, 0);
    EXPECT_EQ(lines_so_far(), (std::vector<std::string>{"change 3", "change 3", "oper 3", "change 3"}));
}

TEST_F(Deliveries, ComeBackAfterGarbageAndAnAgentThatIsSlowToReturn)
{
    peer::send_bytes(agent, "HTTP/1.1 400 Bad Request\r\n\r\n");
    EXPECT_TRUE(peer::sees_end(agent));
    EXPECT_NE(kvr_trap_send(daemon.ctx, "lost", 1, 0), 0);
    {
        const peer::Handle hangs_up = peer::take_connection(listener);
    }
    const auto begin = std::chrono::steady_clock::now();
    accept_again();
    EXPECT_GT(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(1500)) << "the second wait is longer";
    EXPECT_EQ(call_for_status(agent, Op::deliver, encode(make_delivery(1, 0))).status, 0);
    EXPECT_EQ(kvr_trap_send(daemon.ctx, "heard", 1, 0), 0);
}

} // namespace
