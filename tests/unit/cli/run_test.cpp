// What gwcli asks of the agent, prints and ends with.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>

#include "cli/words.h"
#include "protocol/hello.h"
#include "unit/cli/fake_agent.h"

namespace {

// Arguments as a shell would make them.
proto::Words words(const std::string &line)
{
    return cli::texts_of(cli::split_typed(line + " ").words);
}

void expect(const FakeAgent &agent, const std::vector<std::string> &arguments, const Ran &ran,
            const std::string &input = "")
{
    EXPECT_EQ(run_gwcli(agent, arguments, input), ran) << testing::PrintToString(arguments) << input;
}

TEST(Show, AsksForWhatTheWordsSayAndPrintsItWithItsAncestors)
{
    Gateway gateway;
    gateway.tree = tree_of(in("gw-oper:interface-view"), in("brief"), entry("Cellular"), key("port", "1/0"),
                           leaf("media", "LTE"), end, end, end);
    const std::string text = "interface-view brief Cellular 1/0 media LTE\n";
    const std::string sets = "set " + text;
    const std::string json = R"({"gw-oper:interface-view":{"brief":{"Cellular":[{"port":"1/0","media":"LTE"}]}}})"
                             "\n";
    const std::string view = "Interface     Address  Mask  Admin  Oper  Media  Type  Description\n"
                             "Cellular 1/0  -        -     -      -     LTE    -     -\n";
    const struct {
        const char *line;
        const char *asked;
        const std::string &out;
    } rows[] = {
        {"show conf interface-view brief",          "get 0 interface-view|brief",              text},
        {"--set show configuration --defaults",     "get 0 defaults ",                         sets},
        {"show operational /interface-view --json", "get 2 /interface-view",                   json},
        {"--json configure \"show \\\"a b\\\"\"",   "get 1 a b",                               json},
        {"show interface brief Cellular 1/0",       "get 2 interface-view|brief|Cellular|1/0", view},
    };
    const FakeAgent agent(std::ref(gateway));
    for (const auto &row : rows) {
        gateway.log.clear();
        EXPECT_EQ(run_gwcli(agent, words(row.line)), (Ran{0, row.out, ""}));
        EXPECT_EQ(gateway.log, std::string(row.asked) + "\n");
    }
}

TEST(Show, FailsOnlyWhenNothingCouldBeRead)
{
    Gateway gateway;
    gateway.tree = tree_of(in("gw-oper:transceiver"), in("diagnostics"), mark("diagnostics", "nobody serves it"), end,
                           mark("idprom", "nobody serves it"), end);
    const FakeAgent agent(std::ref(gateway));
    expect(agent, {"show", "transceiver"},
           {1, "", "gwcli: /transceiver/diagnostics: nobody serves it (and 1 more could not be read)\n"});
    gateway.tree.nodes[4] = in("idprom");
    gateway.tree.nodes.insert(gateway.tree.nodes.begin() + 5, {leaf("vendor-name", "ACME  "), end});
    expect(agent, {"show", "transceiver"},
           {0, "Identification\nVendor  ACME\n! /transceiver/diagnostics: nobody serves it\n", ""});
    expect(agent, {"show", "operational", "transceiver"},
           {0, "transceiver\n  ! diagnostics: nobody serves it\n  idprom vendor-name \"ACME  \"\n", ""});
    // The keys on the way to what was asked for were not read; those of entries that the agent found were.
    gateway.tree = tree_of(in("m:view"), entry("port"), key("name", "0/0"), mark("mtu", "no reply"), end, end);
    expect(agent, {"show", "operational", "--json"},
           {1, "{\"error\":{\"code\":\"unreadable\",\"path\":\"/view/port{0/0}/mtu\",\"text\":\"no reply\"}}\n",
            "gwcli: /view/port{0/0}/mtu: no reply\n"});
    gateway.tree.nodes.insert(gateway.tree.nodes.end() - 2, mark("speed", "no reply"));
    expect(agent, {"show", "operational"}, {0, "view port 0/0\n  ! mtu: no reply\n  ! speed: no reply\n", ""});
}

TEST(Show, ListsStatusRollbacksAndChanges)
{
    setenv("TZ", "UTC", 1);
    const FakeAgent agent{Gateway()};
    EXPECT_EQ(run_gwcli(agent, {"show", "status"}).out, "peer 1  client\\x1b[2J\n");
    EXPECT_EQ(
        run_gwcli(agent, {}, "rollback list\nrollback list --json").out,
        "Number  Transaction  Committed            Comment\n"
        "     1           17  2026-11-22 20:41:17  before the move\n"
        R"({"rollbacks":[{"number":1,"transaction":"17","time":"2026-11-22T20:41:17Z","comment":"before the move"}]})"
        "\n");
    EXPECT_EQ(run_gwcli(agent, {"configure", "diff", "diff --json"}).out,
              "+ /a/l{1}\n~ /a/m 1 -> 2\n- /a/n x\n"
              R"({"changes":[{"op":"create","path":"/a/l{1}"},{"op":"modify","path":"/a/m","before":"1","after":"2"},)"
              R"({"op":"delete","path":"/a/n","before":"x"}]})"
              "\n");
}

TEST(Configure, ExecutesItsLinesUntilOneFailsOrTheSessionIsLeft)
{
    Gateway gateway;
    const FakeAgent agent(std::ref(gateway));
    expect(agent, {"configure", "set a --x \"b \\\"c\"", "delete d\\ e # f", "commit conf 60 comment \"why not\""},
           {0, "committed (transaction 5); taken back in 60 s unless confirmed\n", ""});
    expect(agent, {}, {0, "committed (transaction 5)\ncounters cleared\n", ""},
           "# the LAN\nconfigure\n\n set a 1\ncommit\nexit\nclear counters\nquit\nnonsense\n");
    EXPECT_EQ(gateway.log,
              "set a|--x|b \"c\ndelete d e|#|f\ncommit 60 why not 0\nset a|1\ncommit 0  0\noperation 28\n"); // action
    gateway.log.clear();
    expect(agent, {"configure", "validate", "confirm", "abort", "rollback 2"},
           {0, "valid\nconfirmed (transaction 5)\ntaken back (transaction 5)\n",
            "gwcli: changes that were not committed are discarded\n"});
    EXPECT_EQ(gateway.log, "operation 21\noperation 23\noperation 24\noperation 25\noperation 19\n");
    gateway.log.clear();
    expect(agent, {"configure", "set a 1", "set bad 1", "commit"},
           {1, "", "gwcli: line 2: /: \"bad\" is not known here\n"});
    EXPECT_EQ(gateway.log, "set a|1\nset bad|1\noperation 19\n"); // discard
    gateway.refuse_commit = "the pool lies outside";
    expect(agent, {"--json", "configure", "set a 1", "commit"},
           {1,
            "{\"outcome\":\"done\"}\n"
            "{\"error\":{\"code\":\"refused\",\"path\":\"/ip/dhcp\",\"text\":\"the pool lies outside\"}}\n",
            "gwcli: line 2: /ip/dhcp: the pool lies outside\n"});
}

TEST(Configure, CommitsWithWarningsOnlyWhenTheyAreAccepted)
{
    Gateway gateway;
    gateway.warnings = {
        {"/a", "first" },
        {"/b", "second"}
    };
    const FakeAgent agent(std::ref(gateway));
    expect(agent, {"configure", "set a 1", "commit"},
           {1, "warning: /a: first\nnot committed: there are warnings\n",
            "gwcli: line 2: /a: first; not committed, --accept-warnings would\n"});
    const char *json = R"({"outcome":"needs-acceptance","transaction":"0","warnings":[{"path":"/a","text":"first"}]})";
    EXPECT_EQ(run_gwcli(agent, {"configure", "commit --json"}).out, std::string(json) + "\n");
    const Ran accepted = {0, "warning: /a: first\nwarning: /b: second\ncommitted (transaction 5)\n", ""};
    expect(agent, {"configure", "--accept-warnings", "set a 1", "commit"}, accepted);
    expect(agent, {"-", "--accept-warnings"}, accepted, "conf\ncommit\n");
}

TEST(Load, CommitsTheFileOrLeavesNothingBehind)
{
    Gateway gateway;
    const FakeAgent agent(std::ref(gateway));
    const std::string name = testing::TempDir() + "gwcli-load.json";
    std::ofstream(name) << "{}";
    expect(agent, {"load", name, "--replace"}, {0, "committed (transaction 5)\n", ""});
    gateway.refuse_commit = "no";
    expect(agent, {"-"}, {1, "", "gwcli: line 1: /ip/dhcp: no\n"}, "load " + name + "\n");
    const std::string commit = " {}\ncommit 0 load " + name + " 0\n";
    EXPECT_EQ(gateway.log, "replace" + commit + "merge" + commit + "operation 19\n");
    std::ofstream(name) << std::string(2'000'000, ' ');
    EXPECT_EQ(run_gwcli(agent, {"load", name}).err,
              "gwcli: load: more than the agent takes in one request (1048576 bytes)\n");
    std::remove(name.c_str());
    expect(agent, {"load", name}, {1, "", "gwcli: " + name + ": No such file or directory\n"});
}

TEST(Watch, PrintsEventsAsTheyCome)
{
    setenv("TZ", "UTC", 1);
    Gateway gateway;
    const FakeAgent agent(std::ref(gateway));
    expect(agent, {"watch", "--count", "2", "com", "traps"},
           {0,
            "2026-11-22 20:41:17.042 commit\n  /a/c\n"
            "2026-11-22 20:41:18.000 trap linkDown\n  ifIndex = 1\\x0a\n",
            ""});
    EXPECT_EQ(run_gwcli(agent, {"watch", "--count=1", "--json"}).out,
              "{\"time\":\"2026-11-22T20:41:17.042Z\",\"kind\":\"commit\",\"name\":\"commit\",\"values\":"
              "[{\"name\":\"/a/c\",\"value\":\"\"}]}\n");
    EXPECT_EQ(gateway.log, "watch 6\nwatch 0\nwatch 7\nwatch 0\n");
}

TEST(Usage, EndsWithTwoAndSaysWhatWouldBeAccepted)
{
    const FakeAgent agent{Gateway()};
    const struct {
        const char *script;
        const char *text;
    } rows[] = {
        {"show status now",              "1: unexpected 'now'; usage: show status"                                    },
        {"#\nshow status --port 3",      "2: 'show status' takes no option --port"                                    },
        {"watch x",                      "1: watch: 'x' is no kind of event; expected notifications, traps or commits"},
        {"conf\ncommit conf soon",       "2: commit: confirmed takes a number of seconds from 1"                      },
        {"conf\ncommit soon",            "2: commit: unknown word 'soon'; expected confirmed or comment"              },
        {"watch --jason",                "1: unknown option --jason; --help lists them"                               },
        {"watch --json=1",               "1: --json takes no value"                                                   },
        {"watch --port=70000",           "1: --port takes a number from 1 to 65535, not '70000'"                      },
        {"sh ip",                        "1: incomplete command 'sh ip'; expected dhcp or nat"                        },
        {"sh ip x",                      "1: unknown word 'x' after 'sh ip'; expected dhcp or nat"                    },
        {"conf\ndi",                     "2: ambiguous word 'di'; may be diff or discard"                             },
        {"conf\nrollback 0",             "2: rollback takes a number from 1, see 'rollback list'"                     },
        {"help x\x1b",                   "1: no command begins with 'x\\x1b'"                                         },
        {"conf\n\nset a \"b\nset c d\n", "3: a quote is left open; close it with \""                                  },
        {"watch \\",                     "1: the line ends in a backslash"                                            },
    };
    for (const auto &row : rows)
        EXPECT_EQ(run_gwcli(agent, {}, row.script), (Ran{2, "", std::string("gwcli: line ") + row.text + "\n"}));
    EXPECT_EQ(run_gwcli(agent, {"show", "--help"}).status, 0);
    EXPECT_EQ(
        run_gwcli(agent, {"--json", "load"}),
        (Ran{2, "{\"error\":{\"code\":\"usage\",\"text\":\"usage: load FILE\"}}\n", "gwcli: usage: load FILE\n"}));
}

TEST(Link, TellsWhatTheAgentDidWrong)
{
    Gateway gateway;
    proto::Op wrong{};
    std::optional<std::string> bytes;
    const FakeAgent agent([&](const peer::Message &frame) { return frame.op == wrong ? bytes : gateway(frame); });
    // The hello is request 1 of a connection.
    const auto reply = [](std::uint32_t id, const std::string &payload) {
        return proto::make_frame(proto::Op::reply, id, payload);
    };
    const auto told = [&](const std::string &line, proto::Op op, std::optional<std::string> answer) {
        wrong = op;
        bytes = std::move(answer);
        const Ran ran = run_gwcli(agent, words(line));
        EXPECT_EQ(ran, (Ran{1, "", ran.err}));
        return ran.err;
    };
    const std::string at = "the agent at 127.0.0.1:" + std::to_string(agent.port);
    const std::string lost = "lost " + at + " before it answered: ";
    EXPECT_EQ(told("configure \"set a 1\" diff commit", proto::Op::diff, {}),
              "gwcli: line 2: diff: " + lost + "it closed the connection\n");
    EXPECT_EQ(told("show status", proto::Op::status, ""),
              "gwcli: show status: no answer from " + at + " in time; it may still carry it out\n");
    EXPECT_EQ(told("show status", proto::Op::status, reply(2, "x")),
              "gwcli: show status: the agent's answer cannot be read\n");
    EXPECT_EQ(told("show status", proto::Op::hello, reply(1, proto::encode(proto::HelloReply{2, "test"}))),
              "gwcli: " + at + " speaks protocol version 2, this program 1\n");
    EXPECT_EQ(told("show operational", proto::Op::get, reply(2, proto::encode(tree_of(in("a"))))),
              "gwcli: the agent's answer does not nest\n");
    EXPECT_EQ(told("watch", proto::Op::watch, reply(2, "") + std::string(9, '\xff')),
              "gwcli: watch: " + lost + "it sent what is no frame\n");
    const std::string event = proto::make_frame(proto::Op::event, 0, proto::encode(proto::Event{}));
    EXPECT_EQ(told("configure discard \"set bad 1\"", proto::Op::discard, reply(2, "") + reply(2, "stale") + event),
              "gwcli: line 2: /: \"bad\" is not known here\n");
}

} // namespace
