#include "agent/model/deliveries.h"

#include <algorithm>

#include <gtest/gtest.h>

#include "agent/model/edit.h"
#include "model_fixture.h"

namespace {

using proto::Value;
using proto::ValueType;

constexpr std::uint32_t system_ns = 0x6b64eac0;
constexpr std::uint32_t snmp_ns = 0x51c03854;
constexpr std::uint32_t cellular_ns = 0x0c7acb07;

// The interface manager's own subscriptions, in its order.
std::vector<model::Row> daemon_rows()
{
    std::vector<model::Row> rows;
    std::string error;
    const std::vector<proto::Subscription> subscriptions = {
        {"interface/GigabitEthernet",                       system_ns,   1, 0x16, 0   },
        {"interface",                                       system_ns,   1, 0x10, 0   },
        {"ip/dhcp/pool",                                    system_ns,   0, 0x16, 0   },
        {"ip/dhcp/pool/options/option",                     system_ns,   1, 0x16, 0   },
        {"ip/dhcp/pool/mac-binding",                        system_ns,   1, 0x16, 0   },
        {"ip/dhcp/excluded-address/excluded-address-range", system_ns,   1, 0x16, 0   },
        {"system/passthrough",                              system_ns,   0, 0x16, 0   },
        {"cellular{1}/details",                             cellular_ns, 0, 0x16, 0x10},
        {"ip/nat/inside/source/static/tcp-udp-list",        system_ns,   3, 0x16, 0   },
        {"gw-snmp:snmp/trap/target",                        snmp_ns,     2, 0x06, 0   },
        {"gw-snmp:snmp",                                    snmp_ns,     0, 0x06, 0   },
    };
    EXPECT_TRUE(model::prepare(models(), subscriptions, &rows, &error)) << error;
    return rows;
}

std::string show(const Value &value)
{
    if (value.type != ValueType::list) return std::to_string(int(value.type)) + "=" + proto::to_text(value);
    std::string text = "list";
    for (const Value &item : value.list)
        text += " " + show(item);
    return text;
}

std::string show(const proto::TagValue &pair)
{
    const auto tags = model::tags(models());
    const auto at = std::find_if(tags.begin(), tags.end(), [&](const auto &tag) { return tag.hash == pair.tag; });
    const std::string name = at == tags.end() ? "?" : at->name;
    if (pair.value.type == ValueType::xmlbegin) return name + "(";
    return pair.value.type == ValueType::xmlend ? ")" + name : name + ":" + show(pair.value);
}

// "3 row {key} {key} tag:type=value tag( ... )tag; ...". Tags by the names the models give them.
std::string show(const std::vector<proto::Deliver> &calls)
{
    std::string text;
    for (const proto::Deliver &call : calls) {
        text += (text.empty() ? "" : "; ") + std::to_string(call.operation) + " " + std::to_string(call.row);
        for (const Value &key : call.keys)
            text += " {" + show(key) + "}";
        for (const proto::TagValue &pair : call.values)
            text += " " + show(pair);
    }
    return text;
}

// The calls of the interface manager's rows for these edits, which are made.
std::string step(model::Tree *tree, const std::string &edits)
{
    model::Tree after = changed(*tree, edits);
    std::swap(*tree, after);
    return show(model::difference(models(), daemon_rows(), after.get(), tree->get()));
}

const std::string port = "interface GigabitEthernet 0/0";
const std::string lan = port + " ip address v4 ip 10.1.1.1; " + port + " ip address v4 mask 255.255.255.0; ";

TEST(Difference, FollowsWhatBecomesOfALeaf)
{
    model::Tree tree = config(lan + port + " description a");
    EXPECT_EQ(step(&tree, port + " ip address v4 ip 10.1.1.2"),
              "3 0 {5=0/0} ip( address( v4( ip:15=10.1.1.2 )v4 )address )ip; 3 1 {5=0/0}");
    EXPECT_EQ(step(&tree, port + " media-type sfp"), "3 0 {5=0/0} media-type:28=0; 3 1 {5=0/0}");
    EXPECT_EQ(step(&tree, "-" + port + " description"), "3 0 {5=0/0}; 3 1 {5=0/0}") << "modified, without pairs";
    EXPECT_EQ(step(&tree, "-" + port + " media-type"), "3 0 {5=0/0} media-type:28=1; 3 1 {5=0/0}") << "its default";
    EXPECT_EQ(step(&tree, port + " media-type rj45"), "") << "said or silent, the default is the same";

    const std::string option = "ip dhcp pool options option 6 ";
    tree = config(option + "ip 10.0.0.1; " + option + "ip 10.0.0.2");
    EXPECT_EQ(step(&tree, "-" + option + "ip 10.0.0.1; " + option + "ip 10.0.0.1"),
              "3 3 {68=6} ip:list 15=10.0.0.2 15=10.0.0.1")
        << "other order, other value";
    EXPECT_EQ(step(&tree, option + "number -3"), "3 3 {68=6} number:8=-3");
}

TEST(Difference, CallsEntriesDeletedModifiedCreated)
{
    const std::string target = "snmp trap target ";
    model::Tree tree = config(target + "10.0.0.1 162; " + target + "10.0.0.2 162; " + target + "::1 162");
    EXPECT_EQ(step(&tree, target + "10.0.0.9 99; -" + target + "10.0.0.1 162; " + target + "::1 162 community x; -" +
                              target + "10.0.0.2 162"),
              "2 9 {15=10.0.0.1} {11=162}; 2 9 {15=10.0.0.2} {11=162}; 3 9 {16=::1} {11=162} community:5=x; "
              "1 9 {15=10.0.0.9} {11=99} community:5=public");

    // The row of all interfaces is called per entry of each of its lists.
    tree = config("interface Cellular 1/0; " + port);
    EXPECT_EQ(step(&tree, "-interface Cellular 1/0; interface Cellular 1/1; " + port + " description x"),
              "3 0 {5=0/0} description:5=x; 2 1 {5=1/0}; 3 1 {5=0/0}; 1 1 {5=1/1}");
}

TEST(Difference, TakesRowsByPriorityThenByTableAndKeepsTheirListsOutOfThePool)
{
    const std::string rule = "ip nat inside source static tcp-udp-list 7 ";
    model::Tree tree = config(port + "; ip dhcp pool mac-binding 02:11:22:33:44:55 fixed-address 10.0.23.9");
    EXPECT_EQ(step(&tree, rule + "tcp_udp both; " + rule + "local-addr 10.0.23.9; " + rule +
                              "interface global-port 80; " + rule + "interface GigabitEthernet 0/0; " +
                              "snmp disable false; snmp trap target 10.0.0.1 162; system passthrough enabled true; " +
                              "ip dhcp pool lease lease-days 2; -ip dhcp pool mac-binding; " + port + " description x"),
              "3 2 lease( lease-days:11=2 )lease; 3 6 enabled:17=true; 3 10 disable:17=false; "
              "3 0 {5=0/0} description:5=x; 3 1 {5=0/0}; 2 4 {5=02:11:22:33:44:55}; "
              "1 9 {15=10.0.0.1} {11=162} community:5=public; "
              "1 8 {11=7} tcp_udp:28=2 local-addr:15=10.0.23.9 interface( global-port:11=80 GigabitEthernet:5=0/0 "
              ")interface");
}

TEST(FirstDelivery, DeletesWhatIsGoneThenCreatesEverythingButDefaults)
{
    const model::Tree old = config(port + "; snmp trap target 10.0.0.1 162; system passthrough enabled true");
    const model::Tree now = config("interface GigabitEthernet 0/1; snmp disable true");
    const auto calls = model::first_delivery(models(), daemon_rows(), old.get(), now.get());
    EXPECT_EQ(show(calls), "2 0 {5=0/0}; 2 1 {5=0/0}; 2 9 {15=10.0.0.1} {11=162}; "
                           "1 2 network( dhcp-subnet-prefix:70=10.0.23.0/24 )network lease( lease-days:11=1 "
                           "lease-hours:68=0 lease-minutes:68=0 )lease; 1 0 {5=0/1} media-type:28=1; 1 1 {5=0/1}");
    EXPECT_TRUE(calls.back().index == 5 && calls.back().total == 6);
}

TEST(Checks, AskForWhatIsCreatedOrChangesInSchemaOrder)
{
    const auto asked = [](const model::Tree &before, const model::Tree &after) {
        std::string text;
        for (const model::Check &check : model::checks(models(), before.get(), after.get()))
            text += check.point + " " + check.path + " " + show(check.value) + "\n";
        return text;
    };
    const model::Tree before = config(port + " media-type sfp");
    const model::Tree after = changed(before, lan + "interface Cellular 1/0; -" + port + " media-type");
    EXPECT_EQ(asked(before, after),
              R"(validate_interface_type /interface/GigabitEthernet{0/0}/media-type 28=1
validate_passthrough_feature_disabled /interface/GigabitEthernet{0/0}/ip/address/v4/ip 15=10.1.1.1
validate_netmask /interface/GigabitEthernet{0/0}/ip/address/v4/mask 15=255.255.255.0
validate_passthrough_feature_disabled /interface/GigabitEthernet{0/0}/ip/address/v4/mask 15=255.255.255.0
validate_interface /interface/Cellular{1/0}/port 5=1/0
)");
    EXPECT_EQ(asked(after, changed(after, "-interface Cellular 1/0; -" + port + " ip")), "");
}

} // namespace
