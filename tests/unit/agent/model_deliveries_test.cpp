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

enum RowNumber : std::uint16_t {
    gigabit,
    interfaces,
    pool,
    option,
    binding,
    excluded,
    passthrough,
    details,
    nat,
    trap_target,
    snmp
};

// The interface manager's own subscriptions, in its order.
std::vector<model::Row> daemon_rows()
{
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
    std::vector<model::Row> rows;
    std::string error;
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

// "3 row{key key} tag:type=value ( ... )": one line per call. Tags by the names the models give them.
std::string show(const proto::Deliver &call)
{
    std::string text = std::to_string(call.operation) + " " + std::to_string(call.row);
    for (const Value &key : call.keys)
        text += " {" + show(key) + "}";
    for (const proto::TagValue &pair : call.values) {
        const auto tags = model::tags(models());
        const auto at = std::find_if(tags.begin(), tags.end(), [&](const auto &t) { return t.hash == pair.tag; });
        const std::string name = at == tags.end() ? "?" : at->name;
        const bool begins = pair.value.type == ValueType::xmlbegin;
        const bool ends = pair.value.type == ValueType::xmlend;
        text += begins ? " " + name + "(" : ends ? " )" + name : " " + name + ":" + show(pair.value);
    }
    return text;
}

std::vector<std::string> show(const std::vector<proto::Deliver> &calls)
{
    std::vector<std::string> lines;
    lines.reserve(calls.size());
    for (const proto::Deliver &call : calls)
        lines.push_back(show(call));
    return lines;
}

using Lines = std::vector<std::string>;

Lines delivered(const model::Tree &before, const model::Tree &after)
{
    return show(model::difference(models(), daemon_rows(), before.get(), after.get()));
}

const Lines lan = {"interface GigabitEthernet 0/0 ip address v4 ip 10.1.1.1",
                   "interface GigabitEthernet 0/0 ip address v4 mask 255.255.255.0"};

TEST(Difference, CarriesTheChangedLeafInsideItsContainers)
{
    const model::Tree before = config(lan);
    const model::Tree after = changed(before, {"interface GigabitEthernet 0/0 ip address v4 ip 10.1.1.2"});
    EXPECT_EQ(delivered(before, after),
              (Lines{"3 0 {5=0/0} ip( address( v4( ip:15=10.1.1.2 )v4 )address )ip", "3 1 {5=0/0}"}));

    const auto call = model::difference(models(), daemon_rows(), before.get(), after.get()).front();
    EXPECT_EQ(call.total, 2U);
    ASSERT_EQ(call.values.size(), 7U);
    EXPECT_EQ(call.values[2].tag, 0x1089ff91U);
    EXPECT_EQ(call.values[2].ns, system_ns);
    EXPECT_EQ(call.values[2].value, proto::make_tag(ValueType::xmlbegin, 0x1089ff91, system_ns));
    EXPECT_EQ(call.values[3].tag, 0x61fa2cdbU);
}

TEST(Difference, FollowsWhatBecomesOfALeaf)
{
    const std::string port = "interface GigabitEthernet 0/0 ";
    const model::Tree plain = config({port + "description a"});
    const model::Tree sfp = changed(plain, {port + "media-type sfp"});
    EXPECT_EQ(delivered(plain, sfp), (Lines{"3 0 {5=0/0} media-type:28=0", "3 1 {5=0/0}"}));
    // Back to the default is a change and carries it; said or silent, the default is the same.
    const model::Tree back = changed(sfp, {"-" + port + "media-type"});
    EXPECT_EQ(delivered(sfp, back), (Lines{"3 0 {5=0/0} media-type:28=1", "3 1 {5=0/0}"}));
    EXPECT_EQ(delivered(back, changed(plain, {port + "media-type rj45"})), Lines{});
    // A leaf that is gone leaves a modified entry without pairs.
    EXPECT_EQ(delivered(sfp, changed(sfp, {"-" + port + "description"})), (Lines{"3 0 {5=0/0}", "3 1 {5=0/0}"}));
}

TEST(Difference, CallsEntriesDeletedModifiedCreated)
{
    const Lines three = {"snmp trap target 10.0.0.1 162", "snmp trap target 10.0.0.2 162", "snmp trap target ::1 162"};
    const model::Tree before = config(three);
    const model::Tree after =
        changed(before, {"snmp trap target 10.0.0.9 99", "-snmp trap target 10.0.0.1 162",
                         "snmp trap target ::1 162 community x", "-snmp trap target 10.0.0.2 162"});
    EXPECT_EQ(delivered(before, after),
              (Lines{"2 9 {15=10.0.0.1} {11=162}", "2 9 {15=10.0.0.2} {11=162}", "3 9 {16=::1} {11=162} community:5=x",
                     "1 9 {15=10.0.0.9} {11=99} community:5=public"}));
}

TEST(Difference, KeepsListsWithTheirOwnRowOutOfThePool)
{
    const model::Tree before = config({});
    const model::Tree lists =
        changed(before, {"ip dhcp pool mac-binding 02:11:22:33:44:55 fixed-address 10.0.23.9",
                         "ip dhcp pool options option 6 ip 10.0.0.2", "ip dhcp pool options option 6 ip 10.0.0.1",
                         "ip dhcp excluded-address excluded-address-range 10.0.23.20 high-address 10.0.23.30"});
    EXPECT_EQ(delivered(before, lists), (Lines{"1 3 {68=6} ip:list 15=10.0.0.2 15=10.0.0.1",
                                               "1 4 {5=02:11:22:33:44:55} fixed-address:15=10.0.23.9",
                                               "1 5 {15=10.0.23.20} high-address:15=10.0.23.30"}));
    // The pool first: its priority is lower.
    const model::Tree both = changed(lists, {"ip dhcp pool lease lease-days 2", "-ip dhcp pool mac-binding",
                                             "ip dhcp pool network dhcp-subnet-prefix 10.0.24.5/25"});
    EXPECT_EQ(delivered(lists, both), (Lines{"3 2 network( dhcp-subnet-prefix:70=10.0.24.5/25 )network lease( "
                                             "lease-days:11=2 )lease",
                                             "2 4 {5=02:11:22:33:44:55}"}));
}

TEST(Difference, ShowsAnOptionWhoseChoiceOrListChanges)
{
    const std::string option6 = "ip dhcp pool options option 6 ";
    const model::Tree list = config({option6 + "ip 10.0.0.1", option6 + "ip 10.0.0.2"});
    EXPECT_EQ(delivered(list, changed(list, {"-" + option6 + "ip 10.0.0.1"})),
              (Lines{"3 3 {68=6} ip:list 15=10.0.0.2"}));
    // Other order, other value.
    const model::Tree turned = changed(list, {"-" + option6 + "ip 10.0.0.1", option6 + "ip 10.0.0.1"});
    EXPECT_EQ(delivered(list, turned), (Lines{"3 3 {68=6} ip:list 15=10.0.0.2 15=10.0.0.1"}));
    const model::Tree text = changed(list, {option6 + "text dns"});
    EXPECT_EQ(delivered(list, text), (Lines{"3 3 {68=6} text:5=dns"}));
    EXPECT_EQ(delivered(text, changed(text, {option6 + "number -3"})), (Lines{"3 3 {68=6} number:8=-3"}));
}

TEST(Difference, ReachesTheInterfaceRowPerEntryOfEveryList)
{
    const model::Tree before = config({"interface Cellular 1/0", "interface GigabitEthernet 0/0"});
    const model::Tree after = changed(
        before, {"-interface Cellular 1/0", "interface Cellular 1/1", "interface GigabitEthernet 0/0 description x"});
    EXPECT_EQ(delivered(before, after),
              (Lines{"3 0 {5=0/0} description:5=x", "2 1 {5=1/0}", "3 1 {5=0/0}", "1 1 {5=1/1}"}));
}

TEST(Difference, TakesRowsByPriorityThenByTable)
{
    const model::Tree before = config({"interface GigabitEthernet 0/0"});
    const std::string rule = "ip nat inside source static tcp-udp-list 7 ";
    const model::Tree after =
        changed(before, {rule + "tcp_udp both", rule + "local-addr 10.0.23.9", rule + "interface global-port 80",
                         rule + "interface GigabitEthernet 0/0", "snmp disable false", "snmp trap target 10.0.0.1 162",
                         "system passthrough enabled true", "interface GigabitEthernet 0/0 description x"});
    const std::string created_rule = "1 8 {11=7} tcp_udp:28=2 local-addr:15=10.0.23.9 interface( global-port:11=80 "
                                     "GigabitEthernet:5=0/0 )interface";
    EXPECT_EQ(delivered(before, after),
              (Lines{"3 6 enabled:17=true", "3 10 disable:17=false", "3 0 {5=0/0} description:5=x", "3 1 {5=0/0}",
                     "1 9 {15=10.0.0.1} {11=162} community:5=public", created_rule}));
}

TEST(Difference, PutsListsWithoutTheirOwnRowIntoTheCall)
{
    std::vector<model::Row> rows;
    std::string error;
    ASSERT_TRUE(model::prepare(
        models(),
        {
            {"ip/dhcp",                        system_ns, 0, 0x16, 0},
            {"interface/GigabitEthernet{0/1}", system_ns, 0, 0x16, 0}
    },
        &rows, &error));
    const model::Tree before = config({});
    const std::string entry = "ip dhcp pool mac-binding 02:11:22:33:44:55";
    const model::Tree after = changed(
        before, {entry + " fixed-address 10.0.23.9", "interface GigabitEthernet 0/1", "interface GigabitEthernet 0/0"});
    const std::string created_entry = "3 0 pool( mac-binding( mac-address:5=02:11:22:33:44:55 "
                                      "fixed-address:15=10.0.23.9 )mac-binding )pool";
    EXPECT_EQ(show(model::difference(models(), rows, before.get(), after.get())),
              (Lines{created_entry, "1 1 {5=0/1} media-type:28=1"}));
    const model::Tree gone = changed(after, {"-" + entry});
    EXPECT_EQ(show(model::difference(models(), rows, after.get(), gone.get())), Lines{"3 0"});
}

TEST(FirstDelivery, DeletesWhatIsGoneThenCreatesEverythingButDefaults)
{
    const model::Tree old =
        config({"interface GigabitEthernet 0/0", "snmp trap target 10.0.0.1 162", "system passthrough enabled true"});
    const model::Tree now = config({"interface GigabitEthernet 0/1", "snmp disable true"});
    const auto calls = model::first_delivery(models(), daemon_rows(), old.get(), now.get());
    const std::string pool_created = "1 2 network( dhcp-subnet-prefix:70=10.0.23.0/24 )network lease( lease-days:11=1 "
                                     "lease-hours:68=0 lease-minutes:68=0 )lease";
    EXPECT_EQ(show(calls), (Lines{"2 0 {5=0/0}", "2 1 {5=0/0}", "2 9 {15=10.0.0.1} {11=162}", pool_created,
                                  "1 0 {5=0/1} media-type:28=1", "1 1 {5=0/1}"}));
    EXPECT_EQ(calls.back().index, 5U);
    EXPECT_EQ(calls.back().total, 6U);
    EXPECT_TRUE(model::first_delivery(models(), daemon_rows(), nullptr, nullptr).empty());
    EXPECT_EQ(show(model::difference(models(), daemon_rows(), now.get(), nullptr)).front(), "2 2");
}

TEST(OperationalChange, ReportsOnlyTheEntryThatIsSubscribed)
{
    model::Tree before;
    std::string error;
    const auto put = [&](model::Tree *tree, const std::string &path, const std::string &text) {
        model::Target target;
        ASSERT_TRUE(model::resolve(models(), path, {}, &target, &error)) << error;
        ASSERT_TRUE(model::store(models(), tree, target, text, &error)) << error;
    };
    put(&before, "/cellular{2}/details/cellular-subnet-mask", "255.255.255.252");
    model::Tree after = model::duplicate(before.get());
    put(&after, "/cellular{2}/details/cellular-ipv4-address", "10.9.9.9");
    put(&after, "/led/status/lan", "1");
    const auto rows = daemon_rows();
    EXPECT_TRUE(model::operational_change(models(), rows, before.get(), after.get()).empty());
    put(&after, "/cellular{1}/details/cellular-ipv4-address", "10.9.9.8");
    EXPECT_EQ(show(model::operational_change(models(), rows, before.get(), after.get())),
              Lines{"1 7 cellular-ipv4-address:15=10.9.9.8"});
    model::Tree later = model::duplicate(after.get());
    put(&later, "/cellular{1}/details/cellular-ipv4-address", "10.9.9.7");
    EXPECT_EQ(show(model::operational_change(models(), rows, after.get(), later.get())),
              Lines{"3 7 cellular-ipv4-address:15=10.9.9.7"});
    EXPECT_TRUE(model::difference(models(), rows, after.get(), later.get()).empty());
}

TEST(Prepare, RefusesRowsThatCannotBeDelivered)
{
    const std::vector<proto::Subscription> bad = {
        {"interface/GigabitEthernet/ip", system_ns,   0, 0x16, 0   }, // of which entry?
        {"interface/GigabitEthernet[0]", system_ns,   0, 0x16, 0   },
        {"system/passthrough/enabled",   system_ns,   0, 0x16, 0   },
        {"snmp",                         system_ns,   0, 0x16, 0   }, // of another model
        {"snmp",                         0x1234,      0, 0x16, 0   },
        {"cellular{1}/details",          cellular_ns, 0, 0x16, 0   },
        {"system/passthrough",           system_ns,   0, 0x16, 0x10},
    };
    for (const proto::Subscription &sub : bad) {
        std::vector<model::Row> rows;
        std::string error;
        EXPECT_FALSE(model::prepare(models(), {sub}, &rows, &error)) << sub.path;
        EXPECT_FALSE(error.empty());
    }
}

Lines asked(const model::Tree &before, const model::Tree &after)
{
    Lines lines;
    for (const model::Check &check : model::checks(models(), before.get(), after.get()))
        lines.push_back(check.point + " " + check.path + " " + show(check.value));
    return lines;
}

TEST(Checks, AskForWhatIsCreatedOrChangesInSchemaOrder)
{
    const model::Tree before = config({"interface GigabitEthernet 0/0 media-type sfp"});
    const std::string v4 = "/interface/GigabitEthernet{0/0}/ip/address/v4";
    const model::Tree after =
        changed(before, {lan[0], lan[1], "interface Cellular 1/0", "-interface GigabitEthernet 0/0 media-type"});
    EXPECT_EQ(asked(before, after), (Lines{"validate_interface_type /interface/GigabitEthernet{0/0}/media-type 28=1",
                                           "validate_passthrough_feature_disabled " + v4 + "/ip 15=10.1.1.1",
                                           "validate_netmask " + v4 + "/mask 15=255.255.255.0",
                                           "validate_passthrough_feature_disabled " + v4 + "/mask 15=255.255.255.0",
                                           "validate_interface /interface/Cellular{1/0}/port 5=1/0"}));
    EXPECT_EQ(asked(after, changed(after, {"-interface Cellular 1/0", "-interface GigabitEthernet 0/0 ip"})), Lines{});

    const model::Tree range =
        config({"ip dhcp excluded-address excluded-address-range 10.0.23.7 high-address 10.0.23.9"});
    const auto checks = model::checks(models(), config({}).get(), range.get());
    ASSERT_EQ(checks.size(), 1U);
    ASSERT_EQ(checks[0].wire_path.size(), 6U);
    EXPECT_EQ(checks[0].wire_path[0].tag, 0x41a4ae0aU);
    ASSERT_TRUE(checks[0].wire_path[1].is_keys);
    EXPECT_EQ(show(checks[0].wire_path[1].keys[0]), "15=10.0.23.7");
    EXPECT_EQ(checks[0].wire_path[5].ns, system_ns);
}

} // namespace
