// What an operator is told when the agent misbehaves.
#include <gtest/gtest.h>

#include <sys/socket.h>

#include "unit/cli/fake_agent.h"

namespace {

std::string at(const FakeAgent &agent)
{
    return "the agent at 127.0.0.1:" + std::to_string(agent.port);
}

TEST(Link, TellsAnAgentThatIsNotThere)
{
    std::uint16_t port = 0;
    {
        const FakeAgent gone([](proto::Op, std::string_view) { return Answer{}; });
        port = gone.port;
    }
    const FakeAgent agent([](proto::Op, std::string_view) { return Answer{}; });
    EXPECT_EQ(run_gwcli(agent, {"show", "status", "--port", std::to_string(port)}),
              (Ran{1, "",
                   "gwcli: cannot reach the agent at 127.0.0.1:" + std::to_string(port) +
                       ": Connection refused; is gw-agent running?\n"}));
}

TEST(Link, TellsAnAgentThatDiesOrStaysSilentOrTalksNonsense)
{
    Answer answer;
    const FakeAgent agent([&answer](proto::Op, std::string_view) { return answer; });
    answer.hang_up = true;
    EXPECT_EQ(
        run_gwcli(agent, {"show", "status"}),
        (Ran{1, "", "gwcli: show status: lost " + at(agent) + " before it answered: it closed the connection\n"}));
    answer = {};
    answer.silent = true;
    EXPECT_EQ(
        run_gwcli(agent, {"show", "status"}),
        (Ran{1, "", "gwcli: show status: no answer from " + at(agent) + " in time; it may still carry it out\n"}));
    answer = {};
    answer.payload = "x";
    EXPECT_EQ(run_gwcli(agent, {"show", "status"}),
              (Ran{1, "", "gwcli: show status: the agent's answer cannot be read\n"}));
    answer = reply(proto::Tree{{in("a")}});
    EXPECT_EQ(run_gwcli(agent, {"show", "configuration"}), (Ran{1, "", "gwcli: the agent's answer does not nest\n"}));
    answer = {};
    answer.after = std::string(9, '\xff');
    EXPECT_EQ(run_gwcli(agent, {"watch"}),
              (Ran{1, "", "gwcli: watch: lost " + at(agent) + " before it answered: it sent what is no frame\n"}));
}

TEST(Link, RefusesAnotherProtocolVersion)
{
    FakeAgent agent([](proto::Op, std::string_view) { return Answer{}; });
    agent.version = 2;
    EXPECT_EQ(run_gwcli(agent, {"show", "status"}),
              (Ran{1, "", "gwcli: " + at(agent) + " speaks protocol version 2, this program 1\n"}));
}

TEST(Link, DropsAnswersThatNobodyWaitsForAnyMore)
{
    const FakeAgent agent([](proto::Op op, std::string_view) {
        if (op == proto::Op::diff) return reply(proto::Diff{});
        Answer answer;
        answer.after = proto::make_frame(proto::Op::reply, 2, "stale") + event_frame({});
        return answer;
    });
    EXPECT_EQ(run_gwcli(agent, {"configure", "discard", "diff"}), (Ran{0, "no changes\n", ""}));
}

TEST(Link, LostInAScriptEndsIt)
{
    const FakeAgent agent([](proto::Op op, std::string_view) {
        Answer answer;
        answer.hang_up = op == proto::Op::diff;
        return answer;
    });
    EXPECT_EQ(
        run_gwcli(agent, {"configure", "set a 1", "diff", "commit"}),
        (Ran{1, "", "gwcli: line 2: diff: lost " + at(agent) + " before it answered: it closed the connection\n"}));
}

} // namespace
