// What gwcli asks of the agent, prints, offers and ends with.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <tuple>

#include "cli/command.h"
#include "cli/complete.h"
#include "cli/json.h"
#include "cli/tree_text.h"
#include "cli/view.h"
#include "cli/words.h"
#include "protocol/hello.h"
#include "unit/cli/fake_agent.h"

namespace {

// Arguments as a shell would make them.
proto::Words words(const std::string &line)
{
    return cli::texts_of(cli::split_typed(line + " ").words);
}

struct Gwcli : testing::Test {
    Gateway gateway;
    const FakeAgent agent{std::ref(gateway)};

    void SetUp() override { setenv("TZ", "UTC", 1); }
    void expect(const std::vector<std::string> &arguments, const Ran &ran, const std::string &input = "") const
    {
        EXPECT_EQ(run_gwcli(agent, arguments, input), ran) << testing::PrintToString(arguments) << input;
    }
    // And nothing else, with success.
    void prints(const std::vector<std::string> &arguments, const std::string &out, const std::string &input = "") const
    {
        expect(arguments, {0, out, ""}, input);
    }
};

TEST_F(Gwcli, ShowsWhatTheWordsSayWithItsAncestors)
{
    gateway.tree = tree_of(in("gw-oper:interface-view"), in("brief"), entry("Cellular"), key("port", "1/0"),
                           leaf("media", "LTE"), end, end, end);
    const std::string text = "interface-view brief Cellular 1/0 media LTE\n";
    const std::string sets = "set " + text;
    const std::string json = R"({"gw-oper:interface-view":{"brief":{"Cellular":[{"port":"1/0","media":"LTE"}]}}})"
                             "\n";
    const std::string view = "Interface     Address  Mask  Admin  Oper  Media  Type  Description\n"
                             "Cellular 1/0  -        -     -      -     LTE    -     -\n";
    const std::tuple<const char *, const char *, const std::string &> rows[] = {
        {"show conf interface-view brief",          "get 0 interface-view|brief",              text},
        {"--set show configuration --defaults",     "get 0 defaults ",                         sets},
        {"show operational /interface-view --json", "get 2 /interface-view",                   json},
        {"--json configure \"show \\\"a b\\\"\"",   "get 1 a b",                               json},
        {"show interface brief Cellular 1/0",       "get 2 interface-view|brief|Cellular|1/0", view},
    };
    for (const auto &[line, asked, out] : rows) {
        gateway.log.clear();
        prints(words(line), out);
        EXPECT_EQ(gateway.log, std::string(asked) + "\n");
    }
}

TEST_F(Gwcli, FailsOnlyWhenNothingCouldBeRead)
{
    gateway.tree = tree_of(in("gw-oper:transceiver"), in("diagnostics"), mark("diagnostics", "nobody serves it"), end,
                           mark("idprom", "nobody serves it"), end);
    expect({"show", "transceiver"},
           {1, "", "gwcli: /transceiver/diagnostics: nobody serves it (and 1 more could not be read)\n"});
    gateway.tree.nodes[4] = in("idprom");
    gateway.tree.nodes.insert(gateway.tree.nodes.begin() + 5, {leaf("vendor-name", "ACME  "), end});
    prints({"show", "transceiver"}, "Identification\nVendor  ACME\n! /transceiver/diagnostics: nobody serves it\n");
    prints({"show", "operational", "transceiver"},
           "transceiver\n  ! diagnostics: nobody serves it\n  idprom vendor-name \"ACME  \"\n");
    // The keys on the way to what was asked for were not read; those of entries that the agent found were.
    gateway.tree = tree_of(in("m:view"), entry("port"), key("name", "0/0"), mark("mtu", "no reply"), end, end);
    expect({"show", "operational", "--json"},
           {1, "{\"error\":{\"code\":\"unreadable\",\"path\":\"/view/port{0/0}/mtu\",\"text\":\"no reply\"}}\n",
            "gwcli: /view/port{0/0}/mtu: no reply\n"});
    gateway.tree.nodes.insert(gateway.tree.nodes.end() - 2, mark("speed", "no reply"));
    prints({"show", "operational"}, "view port 0/0\n  ! mtu: no reply\n  ! speed: no reply\n");
}

TEST_F(Gwcli, ListsRollbacksAndChanges)
{
    prints({},
           "Number  Transaction  Committed            Comment\n"
           "     1           17  2026-11-22 20:41:17  before the move\n",
           "rollback list");
    prints({"configure", "diff", "diff --json"},
           "+ /a/l{1}\n~ /a/m 1 -> 2\n- /a/n x\n"
           R"({"changes":[{"op":"create","path":"/a/l{1}"},{"op":"modify","path":"/a/m","before":"1","after":"2"},)"
           R"({"op":"delete","path":"/a/n","before":"x"}]})"
           "\n");
}

TEST_F(Gwcli, ExecutesLinesUntilOneFailsOrTheSessionIsLeft)
{
    prints({"configure", "set a --x \"b \\\"c\"", "delete d\\ e # f", "commit conf 60 comment \"why not\""},
           "committed (transaction 5); taken back in 60 s unless confirmed\n");
    prints({}, "committed (transaction 5)\ncounters cleared\n",
           "# the LAN\nconfigure\n\n set a 1\ncommit\nexit\nclear counters\nquit\nnonsense\n");
    EXPECT_EQ(gateway.log,
              "set a|--x|b \"c\ndelete d e|#|f\ncommit 60 why not 0\nset a|1\ncommit 0  0\noperation 28\n"); // action
    gateway.log.clear();
    expect({"configure", "validate", "confirm", "abort", "rollback 2"},
           {0, "valid\nconfirmed (transaction 5)\ntaken back (transaction 5)\n",
            "gwcli: changes that were not committed are discarded\n"});
    EXPECT_EQ(gateway.log, "operation 21\noperation 23\noperation 24\noperation 25\noperation 19\n");
    gateway.log.clear();
    expect({"configure", "set a 1", "set bad 1", "commit"}, {1, "", "gwcli: line 2: /: \"bad\" is not known here\n"});
    EXPECT_EQ(gateway.log, "set a|1\nset bad|1\noperation 19\n"); // discard
    gateway.refuse_commit = "the pool lies outside";
    expect({"--json", "configure", "set a 1", "commit"},
           {1,
            "{\"outcome\":\"done\"}\n"
            "{\"error\":{\"code\":\"refused\",\"path\":\"/ip/dhcp\",\"text\":\"the pool lies outside\"}}\n",
            "gwcli: line 2: /ip/dhcp: the pool lies outside\n"});
}

TEST_F(Gwcli, CommitsWithWarningsOnlyWhenTheyAreAccepted)
{
    gateway.warnings = {
        {"/a", "first" },
        {"/b", "second"}
    };
    expect({"configure", "set a 1", "commit"}, {1, "warning: /a: first\nnot committed: there are warnings\n",
                                                "gwcli: line 2: /a: first; not committed, --accept-warnings would\n"});
    prints({"-", "--accept-warnings"}, "warning: /a: first\nwarning: /b: second\ncommitted (transaction 5)\n",
           "conf\ncommit\n");
}

TEST_F(Gwcli, LoadsAndCommitsAFileOrLeavesNothingBehind)
{
    const std::string name = testing::TempDir() + "gwcli-load.json";
    std::ofstream(name) << "{}";
    prints({"load", name, "--replace"}, "committed (transaction 5)\n");
    gateway.refuse_commit = "no";
    expect({"-"}, {1, "", "gwcli: line 1: /ip/dhcp: no\n"}, "load " + name + "\n");
    const std::string commit = " {}\ncommit 0 load " + name + " 0\n";
    EXPECT_EQ(gateway.log, "replace" + commit + "merge" + commit + "operation 19\n");
    std::ofstream(name) << std::string(2'000'000, ' ');
    expect({"load", name}, {1, "", "gwcli: load: more than the agent takes in one request (1048576 bytes)\n"});
    std::remove(name.c_str());
    expect({"load", name}, {1, "", "gwcli: " + name + ": No such file or directory\n"});
}

TEST_F(Gwcli, EndsWithTwoAndSaysWhatWouldBeAccepted)
{
    const std::pair<const char *, const char *> rows[] = {
        {"show status now",              "1: unexpected 'now'; usage: show status"                                    },
        {"#\nshow status --port 3",      "2: 'show status' takes no option --port"                                    },
        {"watch x",                      "1: watch: 'x' is no kind of event; expected notifications, traps or commits"},
        {"conf\ncommit conf soon",       "2: commit: confirmed takes a number of seconds from 1"                      },
        {"conf\ncommit soon",            "2: commit: unknown word 'soon'; expected confirmed or comment"              },
        {"watch --jason",                "1: unknown option --jason; --help lists them"                               },
        {"watch --json=1",               "1: --json takes no value"                                                   },
        {"watch --port=70000",           "1: --port takes a number from 1 to 65535, not '70000'"                      },
        {"sh ip",                        "1: incomplete command 'sh ip'; expected dhcp or nat"                        },
        {"sh ip x\x1b",                  "1: unknown word 'x\\x1b' after 'sh ip'; expected dhcp or nat"               },
        {"conf\ndi",                     "2: ambiguous word 'di'; may be diff or discard"                             },
        {"conf\n\nset a \"b\nset c d\n", "3: a quote is left open; close it with \""                                  },
        {"watch \\",                     "1: the line ends in a backslash"                                            },
    };
    for (const auto &[script, text] : rows)
        expect({}, {2, "", std::string("gwcli: line ") + text + "\n"}, script);
    expect({"--json", "load"},
           {2, "{\"error\":{\"code\":\"usage\",\"text\":\"usage: load FILE\"}}\n", "gwcli: usage: load FILE\n"});
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
    const auto expect = [&](const std::string &line, proto::Op op, std::optional<std::string> answer,
                            const std::string &told) {
        wrong = op;
        bytes = std::move(answer);
        EXPECT_EQ(run_gwcli(agent, words(line)), (Ran{1, "", "gwcli: " + told + "\n"}));
    };
    const std::string at = "the agent at 127.0.0.1:" + std::to_string(agent.port);
    const std::string lost = "lost " + at + " before it answered: ";
    expect("configure \"set a 1\" diff commit", proto::Op::diff, {},
           "line 2: diff: " + lost + "it closed the connection");
    expect("show status", proto::Op::status, "",
           "show status: no answer from " + at + " in time; it may still carry it out");
    expect("show status", proto::Op::status, reply(2, "x"), "show status: the agent's answer cannot be read");
    expect("show status", proto::Op::hello, reply(1, proto::encode(proto::HelloReply{2, "test"})),
           at + " speaks protocol version 2, this program 1");
    expect("show operational", proto::Op::get, reply(2, proto::encode(tree_of(in("a")))),
           "the agent's answer does not nest");
    expect("watch", proto::Op::watch, reply(2, "") + std::string(9, '\xff'),
           "watch: " + lost + "it sent what is no frame");
    const std::string event = proto::make_frame(proto::Op::event, 0, proto::encode(proto::Event{}));
    expect("configure discard \"set bad 1\"", proto::Op::discard, reply(2, "") + reply(2, "stale") + event,
           "line 2: /: \"bad\" is not known here");
}

std::string offered(cli::Cli *session, const std::string &line)
{
    const cli::Completion completion = cli::complete_line(session, line);
    std::string words;
    for (const proto::Candidate &one : completion.list)
        words += (words.empty() ? "" : " ") + (one.word.empty() ? "<" + one.help + ">" : one.word);
    return words + " [" + cli::insertion(completion) + "]";
}

TEST(Completion, WithoutAnAgentComesFromTheTable)
{
    const std::tuple<unsigned, const char *, const char *> rows[] = {
        {cli::in_operation, "sh i",                          "interface ip []"         },
        {cli::in_operation, "watch notifications t",         "traps [traps ]"          },
        {cli::in_operation, "show conf --d",                 "--defaults [--defaults ]"},
        {cli::in_operation, "show configuration interface ", " []"                     },
        {cli::in_configure, "commit confirmed ",             "<SECONDS> []"            },
        {cli::in_configure, "commit confirmed 60 ",          "confirmed comment [co]"  },
        {cli::in_configure, "rollback ",                     "list [list ]"            },
        {cli::in_configure, "set x --j",                     " []"                     },
    };
    cli::Cli session;
    session.link.port = 1; // nobody listens there
    for (const auto &[mode, line, words] : rows) {
        session.mode = mode;
        EXPECT_EQ(offered(&session, line), words) << line;
    }
}

TEST(Completion, QuotesWhatItInserts)
{
    cli::Completion completion{cli::split_typed("set d LA"), {{"LAN port", ""}}};
    EXPECT_EQ(cli::insertion(completion), "\"LAN port\" ");
    completion.list.push_back({"LAN portal", ""});
    EXPECT_EQ(cli::insertion(completion), "\"LAN port");
    // both begin with the same byte of the last letter
    EXPECT_EQ(cli::insertion({
                  cli::split_typed("set d L"), {{"Laß", ""}, {"Laä", ""}}
    }),
              "La");
}

// Must outlive the node.
cli::Node planted(const proto::Tree &tree)
{
    cli::Node root;
    EXPECT_TRUE(cli::plant(tree, &root));
    return root;
}

const proto::Tree configuration =
    tree_of(in("gw-system:interface"), entry("Cellular"), key("port", "1/0"), end, end, in("gw-system:ip"), in("dhcp"),
            in("pool"), in("lease"), leaf("lease-days", "1", ValueType::uint16, true), end, in("options"),
            entry("option"), key("code", "6", ValueType::uint8), item("ip", "10.0.0.1"), item("ip", "10.0.0.2"), end,
            end, end, end, end, in("gw-snmp:snmp"), in("trap"), entry("target"), key("target-address", "10.0.0.9"),
            key("udp-port", "162", ValueType::uint16), leaf("community", "a \"b\"\x1b"), end, end, end);

TEST(Trees, AreIndentedSoThatTheirLinesMakePathsOrSetCommandsOrJson)
{
    EXPECT_EQ(cli::indented_text(planted(configuration)), "interface Cellular 1/0\n"
                                                          "ip dhcp pool\n"
                                                          "  lease lease-days 1  (default)\n"
                                                          "  options option 6\n"
                                                          "    ip 10.0.0.1\n"
                                                          "    ip 10.0.0.2\n"
                                                          "snmp trap target 10.0.0.9 162 community "
                                                          "\"a \\\"b\\\"\\\\x1b\"\n");
    EXPECT_EQ(cli::set_commands(planted(configuration)),
              "set interface Cellular 1/0\n"
              "set ip dhcp pool lease lease-days 1\n"
              "set ip dhcp pool options option 6 ip 10.0.0.1\n"
              "set ip dhcp pool options option 6 ip 10.0.0.2\n"
              "set snmp trap target 10.0.0.9 162 community \"a \\\"b\\\"\\\\x1b\"\n");
}

TEST(Json, QuotesByTypeAndStaysValidWhateverTheTextIs)
{
    const std::tuple<ValueType, const char *, const char *> rows[] = {
        {ValueType::uint64,   "18446744073709551615", "\"18446744073709551615\""},
        {ValueType::int64,    "-1",                   "\"-1\""                  },
        {ValueType::int32,    "007",                  "\"007\""                 },
        {ValueType::uint16,   "",                     "\"\""                    },
        {ValueType::boolean,  "maybe",                "\"maybe\""               },
        {ValueType::noexists, "",                     "[null]"                  },
        {ValueType::buf,      "a\nb\xff\\",           "\"a\\nb\\\\xff\\\\\""    },
    };
    for (const auto &[type, text, json] : rows) {
        const proto::Tree tree = tree_of(leaf("m:l", text, type));
        EXPECT_EQ(cli::json_tree(planted(tree)), std::string("{\"m:l\":") + json + "}");
    }
}

const proto::Tree brief = tree_of(
    in("gw-oper:interface-view"), in("brief"), entry("GigabitEthernet"), key("port", "0/0"),
    leaf("ipv4-address", "10.1.1.1"), leaf("admin-state", "up"), mark("oper-state", "wrong type"),
    leaf("media", "Büro-Port"), leaf("description", "Büro, "), end, entry("GigabitEthernet"), key("port", "0/1"),
    leaf("ipv4-address", "192.168.100.100"), end, mark("Cellular", "nobody serves it\n"), end, end);

TEST(View, ShowsRowsAndWhatCouldNotBeRead)
{
    EXPECT_EQ(cli::view_text(cli::view_interface_brief, planted(brief)),
              "Interface            Address          Mask  Admin  Oper  Media      Type  Description\n"
              "GigabitEthernet 0/0  10.1.1.1         -     up     !     Büro-Port  -     Büro,\n"
              "GigabitEthernet 0/1  192.168.100.100  -     -      -     -          -     -\n"
              "! /interface-view/brief/GigabitEthernet{0/0}/oper-state: wrong type\n"
              "! /interface-view/brief/Cellular: nobody serves it\\x0a\n");
    const std::string json = cli::json_tree(planted(brief));
    EXPECT_NE(json.find(R"(,{"path":"/interface-view/brief/Cellular","text":"nobody serves it\n"}]})"),
              std::string::npos);
    EXPECT_EQ(cli::view_text(cli::view_nat, cli::Node{}), "(none)\n");
}

TEST(View, HasBlocksRecordsUnitsAndFormats)
{
    const proto::Tree detail =
        tree_of(in("gw-oper:interface-view"), in("detail"), entry("Cellular"), key("port", "1/0"), leaf("speed", "100"),
                leaf("rx-bps", "8000"), end, entry("Cellular"), key("port", "1/1"), leaf("role", "wan"), end, end, end);
    EXPECT_EQ(cli::view_text(cli::view_interface_detail, planted(detail)),
              "Cellular 1/0\n  Speed         100 Mbit/s\n  Receive rate  8000 bit/s\n\nCellular 1/1\n  Role  wan\n");
    const proto::Tree lease = tree_of(in("gw-oper:dhcp-server"), entry("binding"), key("client-address", "10.1.1.9"),
                                      leaf("host-name", "P1D"), leaf("lease-remaining", "P1DT2H3M4S"), end, end);
    EXPECT_EQ(cli::view_text(cli::view_dhcp_binding, planted(lease)),
              "Address   Hardware  Host name  Client id  Remaining\n"
              "10.1.1.9  -         P1D        -          1d 02:03:04\n");
    EXPECT_EQ(cli::duration_text("P1Y2M"), "P1Y2M");
    const proto::Tree mib = tree_of(in("gw-oper:if-mib"), entry("ifEntry"), key("ifIndex", "7", ValueType::int32),
                                    leaf("ifPhysAddress", "MDI6MTE6MjI6MzM6NDQ6NTU=", ValueType::binary), end, end);
    EXPECT_NE(cli::view_text(cli::view_snmp_interfaces, planted(mib)).find("02:11:22:33:44:55"), std::string::npos);
}

} // namespace
