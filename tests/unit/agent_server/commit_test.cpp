// Candidates, commits, validation points, rollbacks, confirmed commits and what survives a restart; and that every
// change reaches an application exactly once, whoever is killed when.
#include <csignal>

#include <gtest/gtest.h>
#include <unistd.h>

#include "peer.h"

using namespace test;
using proto::ErrorCode;
using proto::Op;
using proto::Outcome;

namespace {

const std::string description = "interface GigabitEthernet 0/0 description";

struct CommitTest : AgentTest {
    void set_description(const std::string &text, std::uint32_t confirm_seconds = 0)
    {
        edit(client, description + " " + text);
        EXPECT_EQ(commit(client, {confirm_seconds, "", {}}).outcome, Outcome::done);
    }
};

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

    // The process ends within the handler of the call after so many.
    void die_after(std::uint32_t calls, const std::string &edits)
    {
        app.on_deliver = [calls](const proto::Deliver &call) { return call.index < calls; };
        change(client, edits);
        app.on_deliver = nullptr;
        app.got.clear();
    }

    bool in_step() { return status("application tarvod").starts_with("in step"); }
};

} // namespace

TEST_F(CommitTest, ACandidateIsOnesOwnUntilItIsCommitted)
{
    Peer other(proto::Role::client);
    ask(other, Op::watch, proto::Watch{proto::watch_commits});
    edit(client, description + " lan");
    EXPECT_EQ(value_of(client, description, proto::Source::candidate), "lan");
    EXPECT_EQ(value_of(other, description, proto::Source::candidate) + value_of(client, description), "");
    const std::string path = "/interface/GigabitEthernet{0/0}/description";
    EXPECT_EQ(ask_for<proto::Diff>(client, Op::diff).changes.at(0).path, path);
    const proto::CommitReply reply = commit(client);
    EXPECT_TRUE(reply.outcome == Outcome::done && reply.txid == 2 && reply.remarks.empty());
    EXPECT_EQ(value_of(other, description), "lan");
    EXPECT_EQ(await_event(other).pairs, std::vector<proto::Pair>(1, {path, "lan"}));
    EXPECT_EQ(commit(client).outcome, Outcome::nothing_to_do);
    restart();
    EXPECT_EQ(value_of(client, description), "lan");
}

TEST_F(CommitTest, CommitsOfOthersAreMergedUnlessTheyContradict)
{
    Peer other(proto::Role::client);
    other.app = &app;
    edit(client, description + " mine; ip dhcp pool lease lease-hours 3");
    EXPECT_EQ(change(other, "snmp disable false; ip dhcp pool lease lease-days 2").outcome, Outcome::done);
    EXPECT_EQ(commit(client).outcome, Outcome::done);
    const std::string lease = "ip dhcp pool lease lease-";
    EXPECT_EQ(value_of(client, "snmp disable") + value_of(client, lease + "days") + value_of(client, lease + "hours"),
              "false23");
    edit(other, "-interface GigabitEthernet 0/0");
    set_description("first");
    const std::string path = ask_error(other, Op::commit, proto::Commit{}).path;
    EXPECT_NE(path.find("GigabitEthernet{0/0}"), std::string::npos) << path;
    ask(other, Op::discard);
    EXPECT_EQ(commit(other).outcome, Outcome::nothing_to_do);
}

TEST_F(CommitTest, PointsAreAskedForWhatChangesAndMayRefuseOrWarn)
{
    app.verdicts["validate_dhcp_subnet_prefix"] = {-3, "rules exist", {}};
    const proto::CommitReply reply = change(client, "ip dhcp pool network dhcp-subnet-prefix 10.0.24.0/24");
    ASSERT_EQ(reply.outcome, Outcome::needs_acceptance);
    const std::string path = "/ip/dhcp/pool/network/dhcp-subnet-prefix";
    EXPECT_EQ(reply.remarks, std::vector<proto::Remark>(1, {path, "rules exist"}));
    EXPECT_EQ(app.asked,
              (std::vector<std::string>{"validate_dhcp_subnet_prefix", "validate_passthrough_feature_disabled"}));
    EXPECT_EQ(commit(client, {0, "", std::vector<proto::Remark>(1, {path, "another text"})}).outcome,
              Outcome::needs_acceptance)
        << "the text is part of what was accepted";
    app.verdicts["validate_passthrough_feature_disabled"] = {-1, "passthrough is on\x1b", {}};
    EXPECT_EQ(ask_error(client, Op::commit, proto::Commit{0, "", reply.remarks}).text, "passthrough is on\\x1b");
    app.verdicts.erase("validate_passthrough_feature_disabled");
    EXPECT_TRUE(app.got.empty()) << "nothing is delivered before all have agreed";
    EXPECT_EQ(commit(client, {0, "", reply.remarks}).outcome, Outcome::done);
    EXPECT_EQ(app.got.size(), 1U);
}

TEST_F(CommitTest, TenRollbacksAreKept)
{
    for (int i = 0; i < 12; i++)
        set_description("text" + std::to_string(i));
    const auto list = ask_for<proto::Rollbacks>(client, Op::rollbacks).entries;
    ASSERT_EQ(list.size(), 10U);
    EXPECT_TRUE(list[0].txid == 12 && list[9].number == 10);
    restart(SIGTERM);
    EXPECT_EQ(ask_for<proto::Rollbacks>(client, Op::rollbacks).entries.size(), 10U);
    EXPECT_EQ(ask(client, Op::rollback, proto::Rollback{10}).op, Op::reply);
    EXPECT_EQ(value_of(client, description, proto::Source::candidate), "text1");
    EXPECT_EQ(ask_error(client, Op::rollback, proto::Rollback{11}).code, ErrorCode::not_exists);
}

TEST_F(CommitTest, AConfirmedCommitGoesBackByItself)
{
    set_description("before");
    set_description("trial", 1);
    edit(client, description + " more");
    EXPECT_EQ(ask_error(client, Op::commit, proto::Commit{}).code, ErrorCode::in_use);
    stop(SIGKILL);
    app.got.clear();
    sleep(2); // its time passes while nobody is there
    restart();
    EXPECT_EQ(value_of(client, description), "before");
    EXPECT_EQ(app.got.at(0).values.at(0).value.bytes, "before");

    set_description("aborted", 100);
    EXPECT_EQ(ask_for<proto::CommitReply>(client, Op::abort_confirmed).outcome, Outcome::done);
    EXPECT_EQ(value_of(client, description), "before");
    EXPECT_EQ(ask_error(client, Op::confirm).code, ErrorCode::not_exists);

    set_description("confirmed", 1);
    EXPECT_EQ(ask_for<proto::CommitReply>(client, Op::confirm).outcome, Outcome::done);
    serve(app, 1300);
    EXPECT_EQ(value_of(client, description), "confirmed");
}

// The application goes away after the first call of a list; others are committed meanwhile.
TEST_F(DeliveryTest, AnInterruptedListIsFinishedAgainstItsOwnTarget)
{
    for (const bool agent_too : {false, true}) {
        SCOPED_TRACE(agent_too);
        app.on_deliver = [&](const proto::Deliver &call) {
            if (call.index == 1) hang_up(app.peer); // the second one returns, but its answer is lost
            return true;
        };
        EXPECT_EQ(change(client, three_edits).remarks.size(), 1U);
        app.on_deliver = nullptr;
        EXPECT_EQ(take(), "2 3 ; 3 1 02:00:00:00:00:01; ");
        const std::uint64_t interrupted = app.record.last_txid;

        EXPECT_EQ(change(client, range + "; snmp disable false").remarks.size(), 1U);
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

        change(client, "ip dhcp pool lease lease-days 1; -snmp disable; " + binding);
        app.got.clear();
    }
}

TEST_F(DeliveryTest, AListThatWasNotBegunIsSkippedForTheLatest)
{
    die_after(0, three_edits);
    change(client, binding);
    join_again(); // its last transaction is an older one
    EXPECT_EQ(take(), "2 3 ; 4 1 10.0.23.9; ");
}

// What the dead process may have applied of a list has to go, though no tree that was acknowledged ever held it.
TEST_F(DeliveryTest, ANewProcessDeletesWhatAnInterruptedOneMayHaveMade)
{
    die_after(2, three_edits);
    change(client, binding);
    new_process();
    restart();
    const std::string calls = take();
    EXPECT_NE(calls.find("3 2 02:00:00:00:00:01; "), std::string::npos) << calls;
    EXPECT_NE(calls.find("4 1 10.0.23.9; "), std::string::npos) << calls;
    EXPECT_TRUE(in_step());
}

TEST_F(DeliveryTest, ARefusedDeliveryHoldsNobodyUp)
{
    Peer other(proto::Role::application);
    other.app = &app;
    const proto::Subscription snmp{"gw-snmp:snmp", 0x51c03854, 0, proto::wants_values, 0};
    ask(other, Op::register_app, proto::Register{"second", 9, 0, 0, {snmp}, {}, {}, {}});
    edit(client, "snmp disable false");
    const std::uint32_t id = send(client, Op::commit, proto::Commit{});
    const Message call = await(other, [](const Message &m) { return m.op == Op::deliver; });
    send_bytes(other, proto::make_frame(Op::error, call.id, proto::encode(proto::Error{})));
    const Message reply = await(client, [id](const Message &m) { return m.id == id; });
    EXPECT_EQ(decoded<proto::CommitReply>(reply).remarks.size(), 2U) << "it failed, and is away";
    EXPECT_TRUE(is_closed(other));
}

TEST_F(DeliveryTest, RegistrationsThatCannotHoldAreRefused)
{
    constexpr std::uint32_t system_ns = 0x6b64eac0;
    std::vector<proto::Register> refused(3);
    refused[0] = tarvod_record(9); // another process of that name
    refused[1].app = "../second";
    refused[2].validation_points = {"no_such_point"};
    const proto::Subscription undeliverable[] = {
        {"interface/GigabitEthernet/ip", system_ns,  0, 0x16, 0   }, // of which entry?
        {"interface/GigabitEthernet[0]", system_ns,  0, 0x16, 0   },
        {"system/passthrough/enabled",   system_ns,  0, 0x16, 0   },
        {"snmp",                         system_ns,  0, 0x16, 0   }, // of another model
        {"snmp",                         0x1234,     0, 0x16, 0   },
        {"cellular{1}/details",          0x0c7acb07, 0, 0x16, 0   },
        {"system/passthrough",           system_ns,  0, 0x16, 0x10},
    };
    for (const proto::Subscription &row : undeliverable)
        refused.push_back({"second", 9, 0, 0, {row}, {}, {}, {}});
    Application other;
    for (const proto::Register &record : refused) {
        other.record = record;
        EXPECT_FALSE(join(other)) << &record - refused.data();
    }
    other.record = {"second", 9, 0, 0, {{"gw-snmp:snmp", 0x51c03854, 0, proto::wants_values, 0}}, {}, {}, {}};
    EXPECT_TRUE(join(other));
    EXPECT_EQ(ask_error(app.peer, Op::register_app, other.record).code, proto::ErrorCode::in_use) << "a second name";
    serve(app);
    EXPECT_TRUE(app.got.empty()) << "the first one is not disturbed";
    Application again; // the same process, before its old connection was seen to end
    again.record = app.record;
    EXPECT_TRUE(join(again));
    EXPECT_TRUE(is_closed(app.peer));
}

TEST_F(DeliveryTest, OperationalChangesComeOncePerWriteSessionAndAreNeverRepeated)
{
    Peer data(proto::Role::data);
    const auto write = [&](const char *address, int modem = 1) {
        proto::Value value;
        proto::from_text(proto::ValueType::ipv4, address, &value);
        ask(data, Op::cdb_start, proto::CdbStart{proto::Database::operational, 0});
        for (const char *leaf : {"cellular-ipv4-address", "cellular-default-gateway"}) {
            const proto::CdbSet set{"/gw-cellular:cellular{" + std::to_string(modem) + "}/details/" + leaf, value};
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
    EXPECT_TRUE(app.got[0].txid == 0 && app.got[0].values.size() == 2);
    write("10.1.1.1");
    write("10.1.1.9", 2);
    EXPECT_EQ(take(), "5 1 ; ") << "nothing changed, or of another modem";
    write("10.1.1.3");
    EXPECT_EQ(take(), "5 3 ; ");
    hang_up(app.peer);
    write("10.1.1.2");
    join_again();
    EXPECT_EQ(take(), "");
    restart();
    EXPECT_EQ(value_of(client, "/cellular{1}/details/cellular-ipv4-address", proto::Source::operational), "10.1.1.2");
}
