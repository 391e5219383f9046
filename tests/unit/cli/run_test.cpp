#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>

#include "cli/command.h"
#include "unit/cli/fake_agent.h"

namespace {

template <typename Record> Record decoded(std::string_view payload)
{
    Record record;
    EXPECT_TRUE(proto::decode(payload, &record));
    return record;
}

std::string joined(const proto::Words &words)
{
    std::string text;
    for (const std::string &word : words)
        text += (text.empty() ? "" : "|") + word;
    return text;
}

const proto::Tree lan = tree_of(in("gw-system:interface"), entry("GigabitEthernet"), key("port", "0/0"),
                                leaf("description", "LAN"), end(), end());

TEST(Show, AsksForWhatTheWordsSay)
{
    std::string asked;
    const FakeAgent agent([&asked](proto::Op op, std::string_view payload) {
        const auto get = decoded<proto::Get>(payload);
        asked = std::to_string(static_cast<int>(op)) + " " + std::to_string(static_cast<int>(get.source)) + " " +
                (get.with_defaults ? "defaults " : "") + joined(get.path);
        return reply(lan);
    });
    const std::string json =
        "{\"gw-system:interface\":{\"GigabitEthernet\":[{\"port\":\"0/0\",\"description\":\"LAN\"}]}}\n";
    EXPECT_EQ(run_gwcli(agent, {"show", "conf", "interface", "GigabitEthernet", "0/0"}),
              (Ran{0, "interface GigabitEthernet 0/0 description LAN\n", ""}));
    EXPECT_EQ(asked, "16 0 interface|GigabitEthernet|0/0");
    EXPECT_EQ(run_gwcli(agent, {"--set", "show", "configuration", "--defaults"}),
              (Ran{0, "set interface GigabitEthernet 0/0 description LAN\n", ""}));
    EXPECT_EQ(asked, "16 0 defaults ");
    EXPECT_EQ(run_gwcli(agent, {"show", "operational", "led", "--json"}), (Ran{0, json, ""}));
    EXPECT_EQ(asked, "16 2 led");
    EXPECT_EQ(run_gwcli(agent, {"--json", "configure", "show \"interface\""}), (Ran{0, json, ""}));
    EXPECT_EQ(asked, "16 1 interface");
    run_gwcli(agent, {"show", "interface", "brief", "Cellular", "1/0"});
    EXPECT_EQ(asked, "16 2 interface-view|brief|Cellular|1/0");
}

TEST(Show, FailsOnlyWhenNothingCouldBeRead)
{
    proto::Tree tree = tree_of(in("gw-oper:transceiver"), in("diagnostics"), mark("diagnostics", "nobody serves it"),
                               end(), mark("idprom", "nobody serves it"), end());
    const FakeAgent agent([&tree](proto::Op, std::string_view) { return reply(tree); });
    EXPECT_EQ(run_gwcli(agent, {"show", "transceiver"}),
              (Ran{1, "", "gwcli: /transceiver/diagnostics: nobody serves it (and 1 more could not be read)\n"}));
    EXPECT_EQ(run_gwcli(agent, {"show", "transceiver", "--json"}).out,
              "{\"error\":{\"code\":\"unreadable\",\"path\":\"/transceiver/diagnostics\",\"text\":\"nobody serves it "
              "(and 1 more could not be read)\"}}\n");
    tree.nodes[4] = in("idprom");
    tree.nodes.insert(tree.nodes.begin() + 5, {leaf("vendor-name", "ACME  "), end()});
    EXPECT_EQ(run_gwcli(agent, {"show", "transceiver"}),
              (Ran{0, "Identification\nVendor  ACME\n! /transceiver/diagnostics: nobody serves it\n", ""}));
    EXPECT_EQ(run_gwcli(agent, {"show", "operational", "transceiver"}),
              (Ran{0, "transceiver\n  ! diagnostics: nobody serves it\n  idprom vendor-name \"ACME  \"\n", ""}));
}

TEST(Show, ListsStatusRollbacksAndChanges)
{
    setenv("TZ", "UTC", 1);
    const FakeAgent agent([](proto::Op op, std::string_view) {
        if (op == proto::Op::status) {
            return reply(proto::Pairs{
                {{"version", "0.1"}, {"peer 1", "client\x1b[2J"}}
            });
        }
        if (op == proto::Op::rollbacks) return reply(proto::Rollbacks{{{1, 17, 1795380077, "before the move"}}});
        return reply(proto::Diff{
            {{'+', "/a/l{1}", "", ""}, {'~', "/a/m", "1", "2"}, {'-', "/a/n", "x", ""}}
        });
    });
    EXPECT_EQ(run_gwcli(agent, {"show", "status"}).out, "version  0.1\npeer 1   client\\x1b[2J\n");
    EXPECT_EQ(run_gwcli(agent, {"rollback", "list"}).out,
              "Number  Transaction  Committed            Comment\n"
              "     1           17  2026-11-22 20:41:17  before the move\n");
    EXPECT_EQ(run_gwcli(agent, {"rollback", "list", "--json"}).out,
              "{\"rollbacks\":[{\"number\":1,\"transaction\":\"17\",\"time\":\"2026-11-22T20:41:17Z\","
              "\"comment\":\"before the move\"}]}\n");
    EXPECT_EQ(run_gwcli(agent, {"configure", "diff", "diff --json"}).out,
              "+ /a/l{1}\n~ /a/m 1 -> 2\n- /a/n x\n"
              "{\"changes\":[{\"op\":\"create\",\"path\":\"/a/l{1}\"},{\"op\":\"modify\",\"path\":\"/a/m\","
              "\"before\":\"1\",\"after\":\"2\"},{\"op\":\"delete\",\"path\":\"/a/n\",\"before\":\"x\"}]}\n");
}

// Remembers edits and other requests; refuses paths that begin with "bad"; a commit warns until all is accepted.
struct Gateway {
    std::string log;
    std::vector<proto::Remark> warnings;
    std::string refuse_commit;

    Answer operator()(proto::Op op, std::string_view payload)
    {
        if (op == proto::Op::edit) {
            const auto edit = decoded<proto::Edit>(payload);
            log += (edit.remove ? "delete " : "set ") + joined(edit.path) + "\n";
            if (edit.path[0] == "bad") return refusal(proto::ErrorCode::bad_path, "/", "\"bad\" is not known here");
            return reply_nothing();
        }
        if (op == proto::Op::load) {
            const auto load = decoded<proto::Load>(payload);
            log += (load.replace ? "replace " : "merge ") + load.json + "\n";
            return reply_nothing();
        }
        if (op == proto::Op::commit) return commit(decoded<proto::Commit>(payload));
        log += std::to_string(static_cast<int>(op)) + "\n";
        return reply_nothing();
    }

    Answer commit(const proto::Commit &request)
    {
        log += "commit " + std::to_string(request.confirm_seconds) + " " + request.comment + " " +
               std::to_string(request.accepted.size()) + "\n";
        if (!refuse_commit.empty()) return refusal(proto::ErrorCode::refused, "/ip/dhcp", refuse_commit);
        if (request.accepted == warnings) return reply(proto::CommitReply{proto::Outcome::done, 5, {}});
        // One new warning at a time, as when accepting one lets the next point be asked.
        return reply(proto::CommitReply{proto::Outcome::needs_acceptance, 0, {warnings[request.accepted.size()]}});
    }

    static Answer reply_nothing() { return {}; }
};

TEST(Configure, ExecutesItsLinesInOneSessionUntilOneFails)
{
    Gateway gateway;
    const FakeAgent agent(std::ref(gateway));
    EXPECT_EQ(run_gwcli(agent, {"configure", "set a --x \"b c\"", "delete d", "commit conf 60 comment \"why not\""}),
              (Ran{0, "committed (transaction 5); taken back in 60 s unless confirmed\n", ""}));
    EXPECT_EQ(gateway.log, "set a|--x|b c\ndelete d\ncommit 60 why not 0\n");
    gateway.log.clear();
    EXPECT_EQ(run_gwcli(agent, {"configure", "set a 1", "set bad 1", "commit"}),
              (Ran{1, "", "gwcli: line 2: /: \"bad\" is not known here\n"}));
    EXPECT_EQ(gateway.log, "set a|1\nset bad|1\n19\n");
    EXPECT_EQ(run_gwcli(agent, {"configure", "set a 1"}),
              (Ran{0, "", "gwcli: changes that were not committed are discarded\n"}));
    gateway.refuse_commit = "the pool lies outside";
    EXPECT_EQ(run_gwcli(agent, {"configure", "commit"}),
              (Ran{1, "", "gwcli: line 1: /ip/dhcp: the pool lies outside\n"}));
    EXPECT_EQ(run_gwcli(agent, {"--json", "configure", "set a 1", "commit"}).out,
              "{\"outcome\":\"done\"}\n"
              "{\"error\":{\"code\":\"refused\",\"path\":\"/ip/dhcp\",\"text\":\"the pool lies outside\"}}\n");
}

TEST(Configure, CommitsWithWarningsOnlyWhenTheyAreAccepted)
{
    Gateway gateway;
    gateway.warnings = {
        {"/a", "first" },
        {"/b", "second"}
    };
    const FakeAgent agent(std::ref(gateway));
    EXPECT_EQ(run_gwcli(agent, {"configure", "set a 1", "commit"}),
              (Ran{1, "warning: /a: first\nnot committed: there are warnings\n",
                   "gwcli: line 2: /a: first; not committed, --accept-warnings would\n"}));
    EXPECT_EQ(run_gwcli(agent, {"configure", "commit --json"}).out,
              "{\"outcome\":\"needs-acceptance\",\"transaction\":\"0\",\"warnings\":[{\"path\":\"/"
              "a\",\"text\":\"first\"}]}\n");
    const std::string accepted = "warning: /a: first\nwarning: /b: second\ncommitted (transaction 5)\n";
    EXPECT_EQ(run_gwcli(agent, {"configure", "commit --accept-warnings"}), (Ran{0, accepted, ""}));
    EXPECT_EQ(run_gwcli(agent, {"configure", "--accept-warnings", "set a 1", "commit"}), (Ran{0, accepted, ""}));
    EXPECT_EQ(run_gwcli(agent, {"-", "--accept-warnings"}, "conf\ncommit\n"), (Ran{0, accepted, ""}));
}

TEST(Load, CommitsTheFileOrLeavesNothingBehind)
{
    Gateway gateway;
    const FakeAgent agent(std::ref(gateway));
    std::string name = testing::TempDir() + "gwcli-load-XXXXXX";
    close(mkstemp(name.data()));
    std::ofstream(name) << "{}";
    EXPECT_EQ(run_gwcli(agent, {"load", name, "--replace"}), (Ran{0, "committed (transaction 5)\n", ""}));
    EXPECT_EQ(gateway.log, "replace {}\ncommit 0 load " + name + " 0\n");
    gateway.log.clear();
    gateway.refuse_commit = "no";
    EXPECT_EQ(run_gwcli(agent, {"-"}, "load " + name + "\n"), (Ran{1, "", "gwcli: line 1: /ip/dhcp: no\n"}));
    EXPECT_EQ(gateway.log, "merge {}\ncommit 0 load " + name + " 0\n19\n");
    std::ofstream(name) << std::string(2'000'000, ' ');
    EXPECT_EQ(run_gwcli(agent, {"load", name}).err,
              "gwcli: load: more than the agent takes in one request (1048576 bytes)\n");
    std::remove(name.c_str());
    EXPECT_EQ(run_gwcli(agent, {"load", name}), (Ran{1, "", "gwcli: " + name + ": No such file or directory\n"}));
}

TEST(Script, RunsBothModesAndSaysInWhichLineItEnded)
{
    Gateway gateway;
    const FakeAgent agent(std::ref(gateway));
    EXPECT_EQ(run_gwcli(agent, {}, "# the LAN\nconfigure\n\n set a 1\ncommit\nexit\nclear counters\nquit\nnonsense\n"),
              (Ran{0, "committed (transaction 5)\ncounters cleared\n", ""}));
    EXPECT_EQ(gateway.log, "set a|1\ncommit 0  0\n28\n");
    EXPECT_EQ(run_gwcli(agent, {"configure"}, "set a \"b\nset c d\n"),
              (Ran{2, "", "gwcli: line 1: a quote is left open; close it with \"\n"}));
    EXPECT_EQ(run_gwcli(agent, {}, "watch \\").err, "gwcli: line 1: the line ends in a backslash\n");
    EXPECT_EQ(run_gwcli(agent, {}, "show status --port 3\n").err,
              "gwcli: line 1: 'show status' takes no option --port\n");
}

TEST(Watch, PrintsEventsAsTheyCome)
{
    setenv("TZ", "UTC", 1);
    std::uint32_t mask = 99;
    const proto::Event commit{
        proto::watch_commits, 1795380077042, "commit", {{"/a/b", "1"}, {"/a/c", ""}}
    };
    const proto::Event trap{proto::watch_traps, 1795380078000, "linkDown", {{"ifIndex", "1\n"}}};
    const FakeAgent agent([&](proto::Op, std::string_view payload) {
        const auto watch = decoded<proto::Watch>(payload);
        if (watch.mask == 0) return Answer{};
        mask = watch.mask;
        Answer answer;
        answer.after = event_frame(commit) + event_frame(trap);
        return answer;
    });
    EXPECT_EQ(run_gwcli(agent, {"watch", "--count", "2", "com", "traps"}),
              (Ran{0,
                   "2026-11-22 20:41:17.042 commit\n  /a/b = 1\n  /a/c\n"
                   "2026-11-22 20:41:18.000 trap linkDown\n  ifIndex = 1\\x0a\n",
                   ""}));
    EXPECT_EQ(mask, proto::watch_commits | proto::watch_traps);
    EXPECT_EQ(run_gwcli(agent, {"watch", "--count=1", "--json"}).out,
              "{\"time\":\"2026-11-22T20:41:17.042Z\",\"kind\":\"commit\",\"name\":\"commit\",\"values\":"
              "[{\"name\":\"/a/b\",\"value\":\"1\"},{\"name\":\"/a/c\",\"value\":\"\"}]}\n");
    EXPECT_EQ(mask, 7U);
}

TEST(Usage, EndsWithTwoAndSaysWhatWouldBeAccepted)
{
    const FakeAgent agent([](proto::Op, std::string_view) { return Answer{}; });
    const struct {
        std::vector<std::string> arguments;
        const char *text;
    } rows[] = {
        {{"--jason"},                            "unknown option --jason; --help lists them"                               },
        {{"show", "status", "now"},              "unexpected 'now'; usage: show status"                                    },
        {{"load"},                               "usage: load FILE"                                                        },
        {{"show", "status", "--set"},            "'show status' takes no option --set"                                     },
        {{"watch", "x"},                         "watch: 'x' is no kind of event; expected notifications, traps or commits"},
        {{"configure", "commit confirmed soon"}, "line 1: commit: confirmed takes a number of seconds from 1"              },
        {{"configure", "commit soon"},           "line 1: commit: unknown word 'soon'; expected confirmed or comment"      },
        {{"configure", "rollback 0"},            "line 1: rollback takes a number from 1, see 'rollback list'"             },
        {{"help", "x\x1b"},                      "no command begins with 'x\\x1b'"                                         },
    };
    for (const auto &row : rows)
        EXPECT_EQ(run_gwcli(agent, row.arguments), (Ran{2, "", std::string("gwcli: ") + row.text + "\n"}));
    EXPECT_EQ(run_gwcli(agent, {"show", "--help"}).status, 0);
    EXPECT_EQ(run_gwcli(agent, {"--json", "shw"}).out.substr(0, 50),
              "{\"error\":{\"code\":\"usage\",\"text\":\"unknown command '");
}

} // namespace
