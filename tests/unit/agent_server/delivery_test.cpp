// Every change reaches an application exactly once, whoever is killed when.
#include <algorithm>
#include <csignal>

#include <gtest/gtest.h>
#include <unistd.h>

#include "peer.h"

using namespace test;
using proto::Op;

namespace {

std::string key_text(const proto::Deliver &call)
{
    return call.keys.empty() ? "" : proto::to_text(call.keys.front());
}

// "row operation key": what a handler sees of a call.
std::string brief(const proto::Deliver &call)
{
    return std::to_string(call.row) + " " + std::to_string(call.operation) + " " + key_text(call);
}

std::vector<std::string> take(Application &app)
{
    std::vector<std::string> list;
    for (const proto::Deliver &call : app.got)
        list.push_back(brief(call));
    app.got.clear();
    return list;
}

using List = std::vector<std::string>;

// Rows of tarvod_record(): 2 pool, 3 mac-binding, 4 excluded range, 6 snmp
const List three_calls = {"2 3 ", "3 1 02:00:00:00:00:01", "4 1 10.0.23.9"};

struct DeliveryTest : testing::Test {
    AgentProcess agent;
    Application app;
    Peer client;

    void SetUp() override
    {
        app.record = tarvod_record(1);
        begin();
        serve(app);
        app.got.clear();
    }

    void begin(const char *kill_at = nullptr)
    {
        start(agent, kill_at);
        ASSERT_GT(agent.pid, 0);
        ASSERT_TRUE(join(app, agent));
        connect(client, agent, proto::Role::client);
    }

    void edit_three()
    {
        edit(client, "ip dhcp pool lease lease-days 5");
        edit(client, "ip dhcp pool mac-binding 02:00:00:00:00:01 fixed-address 10.0.23.50");
        edit(client, "ip dhcp excluded-address excluded-address-range 10.0.23.9 high-address 10.0.23.10");
    }

    // The process of the application ends, and another one comes.
    void new_process()
    {
        hang_up(app.peer);
        app.record = tarvod_record(app.record.instance + 1);
        app.silent_after = 1000;
    }

    bool in_step()
    {
        for (const proto::Pair &pair : ask_for<proto::Pairs>(client, Op::status).pairs) {
            if (pair.name == "application tarvod") return pair.value.rfind("in step", 0) == 0;
        }
        return false;
    }
};

} // namespace

TEST_F(DeliveryTest, ANewProcessGetsEverythingAndACommitItsChanges)
{
    new_process();
    ASSERT_TRUE(join(app, agent));
    serve(app);
    EXPECT_EQ(take(app), (List{"2 1 ", "0 1 0/0", "1 1 0/0", "1 1 1/0"}));
    edit_three();
    const proto::CommitReply reply = commit(client, &app);
    EXPECT_EQ(app.got.at(2).total, 3U);
    EXPECT_EQ(app.got.at(2).index, 2U);
    EXPECT_EQ(app.got.at(2).txid, reply.txid);
    EXPECT_EQ(take(app), three_calls);
    EXPECT_TRUE(in_step());
}

TEST_F(DeliveryTest, TheRunningTreeIsTheNewOneWhileItIsDelivered)
{
    Peer data;
    connect(data, agent, proto::Role::data);
    std::int64_t days = 0;
    app.on_deliver = [&](const proto::Deliver &) {
        ask(data, Op::cdb_start, proto::encode(proto::CdbStart{}));
        const proto::CdbPath path{"/gw-system:ip/dhcp/pool/lease/lease-days"};
        days = ask_for<proto::CdbValue>(data, Op::cdb_get, proto::encode(path)).value.number;
    };
    edit(client, "ip dhcp pool lease lease-days 5");
    commit(client, &app);
    EXPECT_EQ(days, 5);
}

// The agent is killed at each point of a commit of three calls; application and agent come back, then the commit counts
// as made or not made, and each of its calls was seen once.
TEST_F(DeliveryTest, AKilledAgentDeliversEachCallOnce)
{
    for (const bool process_too : {false, true}) {
        for (const char *point :
             {"before-persist", "before-rename", "before-swap", "between-deliveries", "before-acknowledge"}) {
            SCOPED_TRACE(std::string(point) + (process_too ? ", application too" : ""));
            begin(point);
            edit_three();
            send(client, Op::commit, proto::encode(proto::Commit{}));
            serve(app, 300);
            EXPECT_EQ(wait_end(agent), SIGKILL);
            const List before = take(app);
            if (process_too) new_process();
            begin();
            serve(app);
            const bool made = value_of(client, "ip dhcp pool lease lease-days") == "5";
            EXPECT_EQ(made, std::string(point) != "before-persist" && std::string(point) != "before-rename");
            List all = before;
            const List after = take(app);
            all.insert(all.end(), after.begin(), after.end());
            if (!process_too) {
                EXPECT_EQ(all, made ? three_calls : List{});
            } else {
                EXPECT_EQ(after.size(), made ? 6U : 4U) << "a new process gets everything";
            }
            EXPECT_TRUE(in_step());
            if (!made) continue;
            edit(client, "ip dhcp pool lease lease-days 1");
            edit(client, "ip dhcp pool mac-binding 02:00:00:00:00:01", true);
            edit(client, "ip dhcp excluded-address excluded-address-range 10.0.23.9", true);
            commit(client, &app);
            EXPECT_EQ(take(app).size(), 3U);
        }
    }
}

// The application goes away after the first call of a list; others are committed meanwhile.
TEST_F(DeliveryTest, AnInterruptedListIsFinishedAgainstItsOwnTarget)
{
    for (const bool agent_too : {false, true}) {
        SCOPED_TRACE(agent_too);
        edit_three();
        app.on_deliver = [&](const proto::Deliver &call) {
            if (call.index == 1) hang_up(app.peer); // the second one returns, but its answer is lost
        };
        EXPECT_EQ(commit(client, &app).remarks.size(), 1U);
        app.on_deliver = nullptr;
        EXPECT_EQ(take(app), (List{three_calls[0], three_calls[1]}));
        const std::uint64_t interrupted = app.record.last_txid;

        edit(client, "ip dhcp excluded-address excluded-address-range 10.0.23.9", true);
        edit(client, "snmp disable false");
        EXPECT_EQ(commit(client, &app).remarks.size(), 1U);
        if (agent_too) {
            stop(agent, SIGKILL);
            start(agent);
            connect(client, agent, proto::Role::client);
        }
        ASSERT_TRUE(join(app, agent));
        serve(app);
        ASSERT_EQ(app.got.size(), 3U);
        EXPECT_EQ(app.got[0].txid, interrupted);
        EXPECT_GT(app.got[1].txid, interrupted);
        EXPECT_EQ(take(app), (List{three_calls[2], "6 3 ", "4 2 10.0.23.9"}));
        EXPECT_TRUE(in_step());

        edit(client, "ip dhcp pool lease lease-days 1");
        edit(client, "ip dhcp pool mac-binding 02:00:00:00:00:01", true);
        edit(client, "snmp disable", true);
        commit(client, &app);
        app.got.clear();
    }
}

TEST_F(DeliveryTest, AListThatWasNotBegunIsSkippedForTheLatest)
{
    app.silent_after = 0;
    edit_three();
    app.on_deliver = [&](const proto::Deliver &) { hang_up(app.peer); };
    commit(client, &app);
    app.on_deliver = nullptr;
    app.silent_after = 1000;
    app.got.clear();
    edit(client, "ip dhcp pool mac-binding 02:00:00:00:00:01", true);
    commit(client);
    ASSERT_TRUE(join(app, agent)); // its last transaction is an older one
    serve(app);
    EXPECT_EQ(take(app), (List{three_calls[0], three_calls[2]}));
}

// What the dead process may have applied of a list has to go, though no tree that was acknowledged ever held it.
TEST_F(DeliveryTest, ANewProcessDeletesWhatAnInterruptedOneMayHaveMade)
{
    edit_three();
    app.on_deliver = [&](const proto::Deliver &call) {
        if (call.index == 2) hang_up(app.peer);
    };
    commit(client, &app);
    app.on_deliver = nullptr;
    app.got.clear();
    edit(client, "ip dhcp pool mac-binding 02:00:00:00:00:01", true);
    commit(client);
    stop(agent, SIGKILL);
    new_process();
    begin();
    serve(app);
    const List list = take(app);
    EXPECT_NE(std::find(list.begin(), list.end(), "3 2 02:00:00:00:00:01"), list.end());
    EXPECT_NE(std::find(list.begin(), list.end(), three_calls[2]), list.end());
    EXPECT_TRUE(in_step());
}

TEST_F(DeliveryTest, RegistrationsThatCannotHoldAreRefused)
{
    Application other;
    other.record = tarvod_record(9);
    EXPECT_FALSE(join(other, agent)) << "another process of that name";
    other.record.app = "second";
    EXPECT_FALSE(join(other, agent)) << "the points have an owner";
    other.record = {};
    other.record.app = "second";
    other.record.validation_points = {"no_such_point"};
    EXPECT_FALSE(join(other, agent));
    other.record.validation_points.clear();
    other.record.subscriptions = {
        {"no/such/path", 0x6b64eac0, 0, proto::wants_values, 0}
    };
    EXPECT_FALSE(join(other, agent));
    other.record.subscriptions = {
        {"gw-snmp:snmp", 0x51c03854, 0, proto::wants_values, 0}
    };
    other.record.app = "../second";
    EXPECT_FALSE(join(other, agent));
    other.record.app = "second";
    EXPECT_TRUE(join(other, agent));
    serve(app);
    EXPECT_TRUE(app.got.empty()) << "the first one is not disturbed";
    Application again; // the same process, before its old connection was seen to end
    again.record = app.record;
    EXPECT_TRUE(join(again, agent));
    EXPECT_TRUE(is_closed(app.peer));
}

TEST_F(DeliveryTest, OperationalChangesComeOncePerWriteSessionAndAreNeverRepeated)
{
    Peer data;
    connect(data, agent, proto::Role::data);
    const auto write = [&](const char *address) {
        proto::Value value;
        ASSERT_TRUE(proto::from_text(proto::ValueType::ipv4, address, &value));
        ask(data, Op::cdb_start, proto::encode(proto::CdbStart{proto::Database::operational, 0}));
        for (const char *leaf : {"cellular-ipv4-address", "cellular-default-gateway"}) {
            const proto::CdbSet set{std::string("/gw-cellular:cellular{1}/details/") + leaf, value};
            EXPECT_EQ(ask(data, Op::cdb_set, proto::encode(set)).op, Op::reply);
        }
        ask(data, Op::cdb_end);
    };
    write("10.1.1.1");
    serve(app);
    ASSERT_EQ(app.got.size(), 1U);
    EXPECT_EQ(app.got[0].txid, 0U);
    EXPECT_EQ(app.got[0].values.size(), 2U);
    write("10.1.1.1");
    serve(app);
    EXPECT_EQ(app.got.size(), 1U) << "nothing changed";
    hang_up(app.peer);
    write("10.1.1.2");
    ASSERT_TRUE(join(app, agent));
    serve(app);
    EXPECT_EQ(app.got.size(), 1U);
    stop(agent, SIGKILL);
    begin();
    EXPECT_EQ(value_of(client, "/cellular{1}/details/cellular-ipv4-address", proto::Source::operational), "10.1.1.2");
}
