// Candidates, commits, validation points, rollbacks, confirmed commits and what survives a restart.
#include <csignal>
#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>
#include <unistd.h>

#include "peer.h"

using namespace test;
using proto::ErrorCode;
using proto::Op;
using proto::Outcome;

namespace {

const std::string description = "interface GigabitEthernet 0/0 description";

struct CommitTest : testing::Test {
    AgentProcess agent;
    Application app;
    Peer client;

    void SetUp() override
    {
        start(agent);
        app.record = tarvod_record(1);
        ASSERT_TRUE(join(app, agent));
        serve(app);
        connect(client, agent, proto::Role::client);
    }

    void set_description(const std::string &text)
    {
        edit(client, description + " " + text);
        EXPECT_EQ(commit(client, &app).outcome, Outcome::done);
    }

    void restart(int signal = SIGKILL)
    {
        stop(agent, signal);
        start(agent);
        ASSERT_GT(agent.pid, 0);
        ASSERT_TRUE(join(app, agent));
        serve(app);
        connect(client, agent, proto::Role::client);
    }

    bool was_delivered(const std::string &text) const
    {
        for (const proto::Deliver &call : app.got) {
            for (const proto::TagValue &pair : call.values) {
                if (pair.value.bytes == text) return true;
            }
        }
        return false;
    }

    std::string status(const std::string &name)
    {
        for (const proto::Pair &pair : ask_for<proto::Pairs>(client, Op::status).pairs) {
            if (pair.name == name) return pair.value;
        }
        return "?";
    }
};

} // namespace

TEST_F(CommitTest, ACandidateIsOnesOwnUntilItIsCommitted)
{
    Peer other;
    connect(other, agent, proto::Role::client);
    edit(client, description + " lan");
    EXPECT_EQ(value_of(client, description, proto::Source::candidate), "lan");
    EXPECT_EQ(value_of(other, description, proto::Source::candidate), "");
    EXPECT_EQ(value_of(client, description), "");
    const auto diff = ask_for<proto::Diff>(client, Op::diff);
    ASSERT_EQ(diff.changes.size(), 1U);
    EXPECT_EQ(diff.changes[0].path, "/interface/GigabitEthernet{0/0}/description");
    const proto::CommitReply reply = commit(client, &app);
    EXPECT_EQ(reply.outcome, Outcome::done);
    EXPECT_EQ(reply.txid, 2U);
    EXPECT_TRUE(reply.remarks.empty());
    EXPECT_EQ(value_of(other, description), "lan");
    EXPECT_EQ(commit(client, &app).outcome, Outcome::nothing_to_do);
    restart();
    EXPECT_EQ(value_of(client, description), "lan");
}

TEST_F(CommitTest, CommitsOfOthersAreMergedUnlessTheyContradict)
{
    Peer other;
    connect(other, agent, proto::Role::client);
    edit(client, description + " mine");
    edit(other, "snmp disable false");
    edit(other, "ip dhcp pool lease lease-days 2");
    edit(client, "ip dhcp pool lease lease-hours 3");
    EXPECT_EQ(commit(other, &app).outcome, Outcome::done);
    EXPECT_EQ(ask_for<proto::Diff>(client, Op::diff).changes.size(), 2U);
    EXPECT_EQ(commit(client, &app).outcome, Outcome::done);
    EXPECT_EQ(value_of(client, "snmp disable"), "false");
    EXPECT_EQ(value_of(client, "ip dhcp pool lease lease-days"), "2");
    EXPECT_EQ(value_of(client, "ip dhcp pool lease lease-hours"), "3");

    edit(client, description + " first");
    edit(other, "interface GigabitEthernet 0/0", true);
    EXPECT_EQ(commit(client, &app).outcome, Outcome::done);
    const proto::Error error = ask_error(other, Op::commit, proto::encode(proto::Commit{}), &app);
    EXPECT_EQ(error.code, ErrorCode::refused);
    EXPECT_NE(error.path.find("GigabitEthernet{0/0}"), std::string::npos) << error.path;
    ask(other, Op::discard);
    EXPECT_EQ(commit(other, &app).outcome, Outcome::nothing_to_do);
}

TEST_F(CommitTest, PointsAreAskedForWhatChangesAndMayRefuseOrWarn)
{
    edit(client, "ip dhcp pool network dhcp-subnet-prefix 10.0.24.0/24");
    app.verdicts["validate_dhcp_subnet_prefix"] = {-3, "rules exist", {}};
    proto::CommitReply reply = commit(client, &app);
    ASSERT_EQ(reply.outcome, Outcome::needs_acceptance);
    ASSERT_EQ(reply.remarks.size(), 1U);
    EXPECT_EQ(reply.remarks[0].path, "/ip/dhcp/pool/network/dhcp-subnet-prefix");
    EXPECT_EQ(reply.remarks[0].text, "rules exist");
    EXPECT_EQ(app.asked,
              (std::vector<std::string>{"validate_dhcp_subnet_prefix", "validate_passthrough_feature_disabled"}));
    app.got.clear();
    reply = commit(client, &app, {0, "", {{reply.remarks[0].path, "another text"}}});
    EXPECT_EQ(reply.outcome, Outcome::needs_acceptance) << "the text is part of what was accepted";
    app.verdicts["validate_passthrough_feature_disabled"] = {-1, "passthrough is on\x1b", {}};
    proto::Error error = ask_error(client, Op::commit, proto::encode(proto::Commit{0, "", reply.remarks}), &app);
    EXPECT_EQ(error.code, ErrorCode::refused);
    EXPECT_EQ(error.text, "passthrough is on\\x1b");
    app.verdicts.erase("validate_passthrough_feature_disabled");
    EXPECT_TRUE(app.got.empty()) << "nothing is delivered before all have agreed";
    EXPECT_EQ(commit(client, &app, {0, "", reply.remarks}).outcome, Outcome::done);
    EXPECT_EQ(app.got.size(), 1U);

    const proto::Edit wrong{false, words("ip dhcp pool lease lease-hours 99")};
    EXPECT_EQ(ask_error(client, Op::edit, proto::encode(wrong)).code, ErrorCode::bad_value);
}

TEST_F(CommitTest, ThePointsOwnerMustBeThere)
{
    hang_up(app.peer);
    edit(client, "interface GigabitEthernet 0/0 media-type sfp");
    const proto::Error error = ask_error(client, Op::commit, proto::encode(proto::Commit{}));
    EXPECT_EQ(error.code, ErrorCode::unavailable);
    EXPECT_EQ(error.path, "/interface/GigabitEthernet{0/0}/media-type");
    ask(client, Op::discard);
    edit(client, description + " away");
    const proto::CommitReply reply = commit(client);
    EXPECT_EQ(reply.outcome, Outcome::done);
    ASSERT_EQ(reply.remarks.size(), 1U);
    EXPECT_NE(reply.remarks[0].text.find("tarvod is away"), std::string::npos);
}

TEST_F(CommitTest, TenRollbacksAreKept)
{
    for (int i = 0; i < 12; i++)
        set_description("text" + std::to_string(i));
    auto list = ask_for<proto::Rollbacks>(client, Op::rollbacks).entries;
    ASSERT_EQ(list.size(), 10U);
    EXPECT_EQ(list[0].txid, 12U);
    EXPECT_EQ(list[9].number, 10U);
    restart(SIGTERM);
    EXPECT_EQ(ask_for<proto::Rollbacks>(client, Op::rollbacks).entries.size(), 10U);
    EXPECT_EQ(ask(client, Op::rollback, proto::encode(proto::Rollback{10})).op, Op::reply);
    EXPECT_EQ(value_of(client, description, proto::Source::candidate), "text1");
    EXPECT_EQ(commit(client, &app).outcome, Outcome::done);
    EXPECT_EQ(value_of(client, description), "text1");
    EXPECT_EQ(ask_error(client, Op::rollback, proto::encode(proto::Rollback{11})).code, ErrorCode::not_exists);
}

TEST_F(CommitTest, AConfirmedCommitGoesBackByItself)
{
    set_description("before");
    edit(client, description + " trial");
    EXPECT_EQ(commit(client, &app, {1, "", {}}).outcome, Outcome::done);
    edit(client, description + " more");
    EXPECT_EQ(ask_error(client, Op::commit, proto::encode(proto::Commit{}), &app).code, ErrorCode::in_use);
    ask(client, Op::discard);
    serve(app, 1300);
    EXPECT_EQ(value_of(client, description), "before");
    EXPECT_EQ(status("unconfirmed"), "none");

    edit(client, description + " aborted");
    commit(client, &app, {100, "", {}});
    EXPECT_EQ(ask_for<proto::CommitReply>(client, Op::abort_confirmed, "", &app).outcome, Outcome::done);
    EXPECT_EQ(value_of(client, description), "before");
    EXPECT_EQ(ask_error(client, Op::confirm).code, ErrorCode::not_exists);

    edit(client, description + " confirmed");
    commit(client, &app, {1, "", {}});
    EXPECT_EQ(ask_for<proto::CommitReply>(client, Op::confirm).outcome, Outcome::done);
    serve(app, 1300);
    EXPECT_EQ(value_of(client, description), "confirmed");
}

TEST_F(CommitTest, TheTimeOfAConfirmedCommitRunsOnThroughARestart)
{
    set_description("before");
    edit(client, description + " trial");
    commit(client, &app, {2, "", {}});
    restart();
    EXPECT_EQ(value_of(client, description), "trial");
    EXPECT_NE(status("unconfirmed"), "none");
    stop(agent, SIGKILL);
    app.got.clear();
    sleep(2);
    restart();
    EXPECT_EQ(value_of(client, description), "before");
    EXPECT_TRUE(was_delivered("before"));
}

TEST_F(CommitTest, ADamagedConfigurationIsKeptAsideAndThePreviousUsed)
{
    set_description("one");
    set_description("two");
    stop(agent, SIGTERM);
    const std::string running = agent.state_dir + "/running.json";
    app.got.clear();
    const auto size = std::filesystem::file_size(running);
    std::filesystem::resize_file(running, size / 2); // its other name, config.3.json, is the same file
    restart();
    EXPECT_EQ(value_of(client, description), "one");
    EXPECT_EQ(status("transaction"), "4");
    EXPECT_TRUE(was_delivered("one")) << "the application follows";
    bool kept = false;
    for (const auto &entry : std::filesystem::directory_iterator(agent.state_dir))
        kept = kept || entry.path().filename().string().rfind("running.json.bad", 0) == 0;
    EXPECT_TRUE(kept);

    stop(agent, SIGTERM);
    for (const auto &entry : std::filesystem::directory_iterator(agent.state_dir))
        std::ofstream(entry.path()).close(); // everything is empty
    restart();
    EXPECT_EQ(value_of(client, "interface GigabitEthernet 0/0 ip address v4 ip"), "10.0.23.1") << "factory";
    set_description("three");
}

TEST_F(CommitTest, WatchersAreToldOfCommits)
{
    Peer watcher;
    connect(watcher, agent, proto::Role::client);
    ask(watcher, Op::watch, proto::encode(proto::Watch{proto::watch_commits}));
    set_description("seen");
    const Message message = await(watcher, [](const Message &m) { return m.op == Op::event; });
    proto::Event event;
    ASSERT_TRUE(proto::decode(message.payload, &event));
    EXPECT_EQ(event.name, "commit");
    EXPECT_EQ(event.pairs, (std::vector<proto::Pair>{
                               {"/interface/GigabitEthernet{0/0}/description", "seen"}
    }));
}
