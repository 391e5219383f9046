#include <gtest/gtest.h>

#include <cstring>

#include "snmp/config.h"
#include "snmp/engine.h"
#include "snmp/netsnmp.h"
#include "snmp/snapshot.h"

using namespace proto;

namespace {

TreeNode node(NodeKind kind, const char *name, const char *text = "", bool is_key = false)
{
    return {kind, is_key, false, ValueType::buf, name, text};
}

Tree table(std::initializer_list<TreeNode> leaves)
{
    Tree tree{
        {node(NodeKind::container, "gw-oper:if-mib"), node(NodeKind::entry, "ifEntry"),
         node(NodeKind::leaf, "ifIndex", "7", true)}
    };
    tree.nodes.insert(tree.nodes.end(), leaves);
    tree.nodes.insert(tree.nodes.end(), {node(NodeKind::end, ""), node(NodeKind::end, "")});
    return tree;
}

std::string value_of(const snmp::Object &object)
{
    if (object.type == ASN_OCTET_STR) return object.bytes;
    counter64 wide{};
    if (object.type == ASN_COUNTER64) std::memcpy(&wide, object.bytes.data(), sizeof wide);
    if (object.type != ASN_COUNTER64) std::memcpy(&wide.low, object.bytes.data(), sizeof wide.low);
    return std::to_string((wide.high << 32) + wide.low);
}

// "column=type:value" of row 7 but for its index; "x" of the second table.
std::string served(const char *leaf, const char *text)
{
    std::string line;
    for (const snmp::Object &object : snmp::make_snapshot(table({node(NodeKind::leaf, leaf, text)})).objects) {
        const bool x_table = object.length == 12;
        const unsigned long column = object.name[object.length - 2];
        if (!x_table && column == 1) continue;
        line += (line.empty() ? "" : " ") + std::string(x_table ? "x" : "") + std::to_string(column) + "=" +
                std::to_string(object.type) + ":" + value_of(object);
    }
    return line;
}

} // namespace

TEST(Snapshot, HoldsWhatTheObjectsCanHoldAndNothingElse)
{
    using namespace std::string_literals;
    // clang-format off
    const struct { const char *leaf, *text; std::string expected; } cases[] = {
        {"ifMtu", "1500", "4=2:1500"}, {"ifMtu", "4294967295", ""}, // not readable
        {"ifHighSpeed", "1000", "5=66:1000000000 x15=66:1000"}, {"ifHighSpeed", "10000", "5=66:4294967295 x15=66:10000"},
        {"ifHighSpeed", "4294967295", "5=66:4294967295 x15=66:4294967295"},
        {"ifPhysAddress", "MDI6YUI6MDA6MDA6MDE6ZmYA", "6=4:\x02\xab\0\0\x01\xff"s},
        {"ifPhysAddress", "MDI6YUI6MDA6MDA6MDE=", ""}, {"ifPhysAddress", "MDI6eHg6MDA6MDA6MDE6ZmYA", ""}, // short, no digits
        {"ifOperStatus", "down", "8=2:2"}, {"ifOperStatus", "sideways", ""}, {"ifInOctets", "4294967296", ""},
        {"ifHCInOctets", "18446744073709551615", "x6=70:18446744073709551615"}, {"ifName", "a b", "x1=4:a b"},
    };
    // clang-format on
    for (const auto &c : cases)
        EXPECT_EQ(served(c.leaf, c.text), c.expected) << c.leaf << " " << c.text;
    EXPECT_EQ(served("ifDescr", std::string(300, 'x').c_str()), "2=4:" + std::string(255, 'x'));
}

TEST(Snapshot, DoesNotTakeAFailedReadForNoInterfaces)
{
    const TreeNode mark = node(NodeKind::error_mark, "ifEntry", "nobody serves this");
    const TreeNode none = node(NodeKind::leaf, "ifNumber", "0");
    Tree failed;
    failed.nodes = {none, mark};
    EXPECT_FALSE(snmp::make_snapshot(failed).usable || snmp::make_snapshot({}).usable);
    EXPECT_TRUE(snmp::make_snapshot({{none}}).usable);
    const snmp::Snapshot partly = snmp::make_snapshot(table({mark}));
    EXPECT_TRUE(partly.usable);
    EXPECT_EQ(partly.fault, "nobody serves this");
}

TEST(Config, TakesTargetsByAddressOnly)
{
    Tree tree{
        {node(NodeKind::container, "gw-snmp:snmp"), node(NodeKind::leaf, "disable", "false")}
    };
    for (const char *address : {"192.0.2.1", "2001:db8::1", "example.net", ""}) {
        tree.nodes.insert(tree.nodes.end(),
                          {node(NodeKind::entry, "target"), node(NodeKind::leaf, "target-address", address, true),
                           node(NodeKind::leaf, "udp-port", "162", true), node(NodeKind::leaf, "community", "c"),
                           node(NodeKind::end, "")});
    }
    const snmp::Config config = snmp::config_of(tree);
    EXPECT_TRUE(config.answers);
    const std::vector<snmp::Target> numeric = {
        {"192.0.2.1",   162, "c"},
        {"2001:db8::1", 162, "c"}
    };
    EXPECT_EQ(config.targets, numeric);
    EXPECT_FALSE(snmp::config_of({}).answers);
}

TEST(Engine, RefusesADamagedFile)
{
    const std::string good = snmp::render_engine({"80001f8880d3b6b24a", 41});
    snmp::Engine engine;
    ASSERT_TRUE(snmp::parse_engine(good, &engine));
    EXPECT_EQ(engine.id, "80001f8880d3b6b24a");
    EXPECT_EQ(engine.boots, 41UL);
    for (std::size_t length = 0; length < good.size(); length++)
        EXPECT_FALSE(snmp::parse_engine(good.substr(0, length), &engine)) << length;
    EXPECT_FALSE(snmp::parse_engine(snmp::render_engine({"80001f88 master", 1}), &engine));
    EXPECT_FALSE(snmp::parse_engine(snmp::render_engine({"80001f8880", 1UL << 31}), &engine));
}
