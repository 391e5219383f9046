// Every change reaches an application exactly once, whoever is killed when.
#include <csignal>
#include <filesystem>

#include <gtest/gtest.h>

#include "peer.h"

using namespace test;
using proto::Op;

namespace {

// Rows of tarvod_record(): 2 pool, 3 mac-binding, 4 excluded range, 6 snmp
const std::string three_edits = "ip dhcp pool lease lease-days 5; "
                                "ip dhcp pool mac-binding 02:00:00:00:00:01 fixed-address 10.0.23.50; "
                                "ip dhcp excluded-address excluded-address-range 10.0.23.9 high-address 10.0.23.10";
const std::string binding = "-ip dhcp pool mac-binding 02:00:00:00:00:01";
const std::string range = "-ip dhcp excluded-address excluded-address-range 10.0.23.9";

struct DeliveryTest : AgentTest {
    // "row operation key; ": what handlers saw since the last time.
    std::string take()
    {
        std::string text;
        for (const proto::Deliver &call : app.got) {
            text += std::to_string(call.row) + " " + std::to_string(call.operation) + " " +
                    (call.keys.empty() ? "" : proto::to_text(call.keys.front())) + "; ";
        }
        app.got.clear();
        return text;
    }

    void join_again()
    {
        ASSERT_TRUE(join(app));
        serve(app);
    }

    bool in_step() { return status("application tarvod").starts_with("in step"); }
};

} // namespace

TEST_F(DeliveryTest, ANewProcessGetsEverythingAndACommitItsChanges)
{
    new_process();
    join_again();
    EXPECT_EQ(take(), "2 1 ; 0 1 0/0; 1 1 0/0; 1 1 1/0; ");
    edit(client, three_edits);
    const proto::CommitReply reply = commit(client);
    EXPECT_EQ(app.got.at(2).total, 3U);
    EXPECT_EQ(app.got.at(2).index, 2U);
    EXPECT_EQ(app.got.at(2).txid, reply.txid);
    EXPECT_EQ(take(), "2 3 ; 3 1 02:00:00:00:00:01; 4 1 10.0.23.9; ");
    EXPECT_TRUE(in_step());
}

// The application goes away after the first call of a list; others are committed meanwhile.
TEST_F(DeliveryTest, AnInterruptedListIsFinishedAgainstItsOwnTarget)
{
    for (const bool agent_too : {false, true}) {
        SCOPED_TRACE(agent_too);
        edit(client, three_edits);
        app.on_deliver = [&](const proto::Deliver &call) {
            if (call.index == 1) hang_up(app.peer); // the second one returns, but its answer is lost
            return true;
        };
        EXPECT_EQ(commit(client).remarks.size(), 1U);
        app.on_deliver = nullptr;
        EXPECT_EQ(take(), "2 3 ; 3 1 02:00:00:00:00:01; ");
        const std::uint64_t interrupted = app.record.last_txid;

        edit(client, range + "; snmp disable false");
        EXPECT_EQ(commit(client).remarks.size(), 1U);
        if (agent_too) {
            stop(SIGKILL);
            start();
        }
        join_again();
        ASSERT_EQ(app.got.size(), 3U);
        EXPECT_EQ(app.got[0].txid, interrupted);
        EXPECT_GT(app.got[1].txid, interrupted);
        EXPECT_EQ(take(), "4 1 10.0.23.9; 6 3 ; 4 2 10.0.23.9; ");
        EXPECT_TRUE(in_step());

        edit(client, "ip dhcp pool lease lease-days 1; -snmp disable; " + binding);
        commit(client);
        app.got.clear();
    }
}

TEST_F(DeliveryTest, AListThatWasNotBegunIsSkippedForTheLatest)
{
    edit(client, three_edits);
    app.on_deliver = [](const proto::Deliver &) { return false; };
    commit(client);
    app.on_deliver = nullptr;
    app.got.clear();
    edit(client, binding);
    commit(client);
    join_again(); // its last transaction is an older one
    EXPECT_EQ(take(), "2 3 ; 4 1 10.0.23.9; ");
}

// What the dead process may have applied of a list has to go, though no tree that was acknowledged ever held it.
TEST_F(DeliveryTest, ANewProcessDeletesWhatAnInterruptedOneMayHaveMade)
{
    edit(client, three_edits);
    app.on_deliver = [](const proto::Deliver &call) { return call.index < 2; };
    commit(client);
    app.on_deliver = nullptr;
    app.got.clear();
    edit(client, binding);
    commit(client);
    new_process();
    restart();
    const std::string calls = take();
    EXPECT_NE(calls.find("3 2 02:00:00:00:00:01; "), std::string::npos) << calls;
    EXPECT_NE(calls.find("4 1 10.0.23.9; "), std::string::npos) << calls;
    EXPECT_TRUE(in_step());
}

TEST_F(DeliveryTest, WhatAnApplicationHasIsKnownThoughTheConfigurationIsDamaged)
{
    edit(client, three_edits);
    commit(client);
    app.got.clear();
    stop(SIGKILL);
    std::filesystem::resize_file(state_dir + "/running.json", 50);
    start();
    join_again();
    EXPECT_EQ(take(), "2 3 ; 3 2 02:00:00:00:00:01; 4 2 10.0.23.9; ");
    EXPECT_EQ(status("transaction"), "3") << "no number is used twice";
}

TEST_F(DeliveryTest, ARefusedDeliveryHoldsNobodyUp)
{
    Peer other;
    connect(other, proto::Role::application);
    other.app = &app;
    const proto::Subscription snmp{"gw-snmp:snmp", 0x51c03854, 0, proto::wants_values, 0};
    ask(other, Op::register_app, proto::Register{"second", 9, 0, 0, {snmp}, {}, {}, {}});
    edit(client, "snmp disable false");
    const std::uint32_t id = send(client, Op::commit, proto::Commit{});
    const Message call = await(other, [](const Message &m) { return m.op == Op::deliver; });
    const std::string busy = proto::encode(proto::Error{proto::ErrorCode::unavailable, "", "busy"});
    send_bytes(other, proto::make_frame(Op::error, call.id, busy));
    const Message reply = await(client, [id](const Message &m) { return m.id == id; });
    EXPECT_EQ(decoded<proto::CommitReply>(reply).remarks.size(), 2U) << "it failed, and is away";
    EXPECT_TRUE(is_closed(other));
}

TEST_F(DeliveryTest, RegistrationsThatCannotHoldAreRefused)
{
    const proto::Subscription snmp{"gw-snmp:snmp", 0x51c03854, 0, proto::wants_values, 0};
    const proto::Subscription nothing{"no/such/path", 0x6b64eac0, 0, proto::wants_values, 0};
    proto::Register cases[] = {tarvod_record(9), tarvod_record(9), {}, {}, {}, {}};
    for (proto::Register &record : cases)
        record.app = "second";
    cases[0].app = "tarvod"; // another process of that name
    cases[2].validation_points = {"no_such_point"};
    cases[3].subscriptions = {nothing};
    cases[4].app = "../second";
    cases[5].subscriptions = {snmp};
    for (std::size_t i = 0; i < std::size(cases); i++) {
        Application other;
        other.record = cases[i];
        EXPECT_EQ(join(other), i == 5) << i;
    }
    const proto::Register third{"third", 9, 0, 0, {}, {}, {}, {}};
    EXPECT_EQ(ask_error(app.peer, Op::register_app, third).code, proto::ErrorCode::in_use) << "a second name";
    serve(app);
    EXPECT_TRUE(app.got.empty()) << "the first one is not disturbed";
    Application again; // the same process, before its old connection was seen to end
    again.record = app.record;
    EXPECT_TRUE(join(again));
    EXPECT_TRUE(is_closed(app.peer));
}

TEST_F(DeliveryTest, OperationalChangesComeOncePerWriteSessionAndAreNeverRepeated)
{
    Peer data;
    connect(data, proto::Role::data);
    const auto write = [&](const char *address) {
        proto::Value value;
        ASSERT_TRUE(proto::from_text(proto::ValueType::ipv4, address, &value));
        ask(data, Op::cdb_start, proto::CdbStart{proto::Database::operational, 0});
        for (const char *leaf : {"cellular-ipv4-address", "cellular-default-gateway"}) {
            const proto::CdbSet set{std::string("/gw-cellular:cellular{1}/details/") + leaf, value};
            EXPECT_EQ(ask(data, Op::cdb_set, set).op, Op::reply);
        }
        ask(data, Op::cdb_end);
        serve(app);
    };
    ask(data, Op::cdb_start, proto::CdbStart{proto::Database::operational, 0});
    const proto::CdbSet key{"/gw-cellular:cellular{1}/id", proto::make_number(proto::ValueType::uint8, 2)};
    EXPECT_EQ(ask_error(data, Op::cdb_set, key).code, proto::ErrorCode::bad_path);
    write("10.1.1.1");
    ASSERT_EQ(app.got.size(), 1U);
    EXPECT_EQ(app.got[0].txid, 0U);
    EXPECT_EQ(app.got[0].values.size(), 2U);
    write("10.1.1.1");
    EXPECT_EQ(app.got.size(), 1U) << "nothing changed";
    hang_up(app.peer);
    write("10.1.1.2");
    join_again();
    EXPECT_EQ(app.got.size(), 1U);
    restart();
    EXPECT_EQ(value_of(client, "/cellular{1}/details/cellular-ipv4-address", proto::Source::operational), "10.1.1.2");
}
