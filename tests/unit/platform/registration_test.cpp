#include <gtest/gtest.h>
#include <poll.h>

#include "maker.h"
#include "platform/confd/names.h"
#include "unit/platform/daemon.h"

namespace {

TEST(Init, WithoutAnAgentLeavesNothingBehind)
{
    const int before = peer::open_descriptors();
    Daemon daemon;
    start(&daemon);
    EXPECT_EQ(wait_result(daemon), 1);
    EXPECT_EQ(daemon.ctx.load(), nullptr);
    EXPECT_EQ(daemon.registrations, 0);
    finish(&daemon);
    EXPECT_EQ(peer::open_descriptors(), before);
}

TEST(Init, GivesASilentAgentTwoSeconds)
{
    const peer::Handle listener = peer::listen_here();
    const auto begin = std::chrono::steady_clock::now();
    Daemon daemon;
    start(&daemon);
    EXPECT_EQ(wait_result(daemon), 1);
    const auto took = std::chrono::steady_clock::now() - begin;
    EXPECT_GT(took, std::chrono::milliseconds(1900));
    EXPECT_LT(took, std::chrono::milliseconds(3000));
    finish(&daemon);
}

// By the agent, or because the daemon's own providers cannot be registered.
TEST(Init, FailsWhenRegistrationIsRefused)
{
    const peer::Handle listener = peer::listen_here();
    for (const int fail_registration : {0, 1}) {
        Daemon daemon;
        daemon.fail_registration = fail_registration;
        start(&daemon);
        const peer::Handle agent = peer::greet(listener, proto::Role::application);
        if (fail_registration == 0) {
            const proto::Error error = {proto::ErrorCode::in_use, "", "taken"};
            peer::send_message(agent, proto::Op::error, peer::read_message(agent).id, encode(error));
        }
        EXPECT_TRUE(peer::sees_end(agent)) << "instead of a registration";
        EXPECT_EQ(wait_result(daemon), 1);
        EXPECT_TRUE(daemon.ctx_at_registration);
        EXPECT_EQ(daemon.ctx.load(), nullptr);
        finish(&daemon);
    }
}

TEST(Init, TellsTheAgentTheWholeTables)
{
    const int before = peer::open_descriptors();
    {
        const peer::Handle listener = peer::listen_here();
        Daemon daemon;
        start(&daemon);
        proto::Register record;
        const peer::Handle agent = accept_registration(listener, &record);
        ASSERT_EQ(wait_result(daemon), 0);
        EXPECT_NE(daemon.ctx.load()->ready, 0U);
        EXPECT_NE(daemon.row_word, 0U);
        ASSERT_EQ(record.subscriptions.size(), 2U);
        EXPECT_EQ(record.subscriptions[0].path, "interface/GigabitEthernet");
        EXPECT_EQ(record.subscriptions[0].ns, 0x6b64eac0U);
        EXPECT_EQ(record.subscriptions[0].priority, 1);
        EXPECT_EQ(record.subscriptions[1].oper, proto::on_operational);
        EXPECT_EQ(record.validation_points, std::vector<std::string>{"check"});
        EXPECT_EQ(record.action_points, std::vector<std::string>{"clear"});
        ASSERT_EQ(record.callpoints.size(), 1U);
        EXPECT_EQ(record.callpoints[0].name, "numbers");
        EXPECT_EQ(record.callpoints[0].calls, 1U << static_cast<unsigned>(proto::DataCall::get_elem));
        EXPECT_EQ(record.last_txid, 0U);
        EXPECT_STREQ(confd_hash2str(5), "port");
        tollan_ctx *ctx = daemon.ctx;
        finish(&daemon);
        EXPECT_TRUE(peer::sees_end(agent));
        EXPECT_NE(tollan_event_send_notification(ctx, nullptr, 0), 0) << "a thread that outlives the module";
    }
    EXPECT_EQ(peer::open_descriptors(), before);
}

TEST(Init, NothingIsDeliveredBeforeTheLoopRuns)
{
    const peer::Handle listener = peer::listen_here();
    Daemon daemon;
    daemon.may_loop = false;
    start(&daemon);
    proto::Register record;
    const std::string early = proto::make_frame(proto::Op::deliver, 9, encode(make_delivery(1, 0)));
    const peer::Handle agent = accept_registration(listener, &record, early);
    ASSERT_EQ(wait_result(daemon), 0);
    pollfd p = {agent.fd, POLLIN, 0};
    EXPECT_EQ(poll(&p, 1, 50), 0) << "answered";
    EXPECT_TRUE(lines_so_far().empty());
    daemon.may_loop = true;
    EXPECT_EQ(peer::read_message(agent).id, 9U);
    EXPECT_EQ(lines_so_far().size(), 1U);
    finish(&daemon);
}

} // namespace
