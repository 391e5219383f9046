#include <gtest/gtest.h>

#include "cli/json.h"
#include "cli/tree_text.h"
#include "cli/view.h"
#include "unit/cli/fake_agent.h"

namespace {

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
    const struct {
        ValueType type;
        const char *text;
        const char *json;
    } rows[] = {
        {ValueType::uint64,   "18446744073709551615", "\"18446744073709551615\""},
        {ValueType::int64,    "-1",                   "\"-1\""                  },
        {ValueType::int32,    "007",                  "\"007\""                 },
        {ValueType::uint16,   "",                     "\"\""                    },
        {ValueType::boolean,  "maybe",                "\"maybe\""               },
        {ValueType::noexists, "",                     "[null]"                  },
        {ValueType::buf,      "a\nb\xff\\",           "\"a\\nb\\\\xff\\\\\""    },
    };
    for (const auto &row : rows) {
        const proto::Tree tree = tree_of(leaf("m:l", row.text, row.type));
        EXPECT_EQ(cli::json_tree(planted(tree)), std::string("{\"m:l\":") + row.json + "}");
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
