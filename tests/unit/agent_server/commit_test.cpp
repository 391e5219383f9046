// Candidates, commits, validation points, rollbacks, confirmed commits and what survives a restart.
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
    EXPECT_EQ(ask_for<proto::Diff>(client, Op::diff).changes.size(), 2U);
    EXPECT_EQ(commit(client).outcome, Outcome::done);
    EXPECT_EQ(value_of(client, "snmp disable"), "false");
    EXPECT_EQ(value_of(client, "ip dhcp pool lease lease-days"), "2");
    EXPECT_EQ(value_of(client, "ip dhcp pool lease lease-hours"), "3");

    edit(other, "-interface GigabitEthernet 0/0");
    set_description("first");
    const proto::Error error = ask_error(other, Op::commit, proto::Commit{});
    EXPECT_EQ(error.code, ErrorCode::refused);
    EXPECT_NE(error.path.find("GigabitEthernet{0/0}"), std::string::npos) << error.path;
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
    EXPECT_NE(status("unconfirmed"), "none");
    edit(client, description + " more");
    EXPECT_EQ(ask_error(client, Op::commit, proto::Commit{}).code, ErrorCode::in_use);
    stop(SIGKILL);
    app.got.clear();
    sleep(2); // its time passes while nobody is there
    restart();
    EXPECT_EQ(value_of(client, description), "before");
    EXPECT_EQ(app.got.at(0).values.at(0).value.bytes, "before");
    EXPECT_EQ(status("unconfirmed"), "none");

    set_description("aborted", 100);
    EXPECT_EQ(ask_for<proto::CommitReply>(client, Op::abort_confirmed).outcome, Outcome::done);
    EXPECT_EQ(value_of(client, description), "before");
    EXPECT_EQ(ask_error(client, Op::confirm).code, ErrorCode::not_exists);

    set_description("confirmed", 1);
    EXPECT_EQ(ask_for<proto::CommitReply>(client, Op::confirm).outcome, Outcome::done);
    serve(app, 1300);
    EXPECT_EQ(value_of(client, description), "confirmed");
}
