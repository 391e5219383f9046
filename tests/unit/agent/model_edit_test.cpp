#include "agent/model/edit.h"

#include <gtest/gtest.h>
#include <libyang/libyang.h>

#include "agent/model/complete.h"
#include "agent/model/render.h"
#include "model_fixture.h"

namespace {

using Lines = std::vector<std::string>;

std::string shown(const proto::Tree &tree)
{
    std::string text;
    for (const proto::TreeNode &node : tree.nodes) {
        const bool opens = node.kind == proto::NodeKind::container || node.kind == proto::NodeKind::entry;
        const std::string mark = node.is_key ? "! " : node.is_default ? "* " : " ";
        const bool ends = node.kind == proto::NodeKind::end;
        text += ends ? "} " : opens ? node.name + "{ " : node.name + "=" + node.text + mark;
    }
    return text;
}

Lines shown(const std::vector<proto::Change> &changes)
{
    Lines lines;
    for (const proto::Change &change : changes)
        lines.push_back(std::string(1, change.op) + " " + change.path + " " + change.before + ">" + change.after);
    return lines;
}

// The error of one edit; "" when it went through.
std::string refused(const model::Tree &tree, const std::string &line)
{
    model::Tree copy = model::duplicate(tree.get());
    proto::Error error;
    const bool ok = line.starts_with('-') ? model::remove(models(), &copy, words(line.substr(1)), &error)
                                          : model::set(models(), &copy, words(line), &error);
    EXPECT_EQ(ok, !model::identical(tree.get(), copy.get())) << line;
    return ok ? "" : error.path + ": " + error.text;
}

// What the models' own rules say about these edits of a valid configuration.
std::string broken(const Lines &lines)
{
    model::Tree tree = config({});
    proto::Error error;
    for (const std::string &line : lines) {
        const bool ok = line.starts_with('-') ? model::remove(models(), &tree, words(line.substr(1)), &error)
                                              : model::set(models(), &tree, words(line), &error);
        EXPECT_TRUE(ok) << line << ": " << error.text;
    }
    return model::validate(models(), &tree, &error) ? "" : error.path + ": " + error.text;
}

TEST(Edit, SaysWhatWouldBeAccepted)
{
    const model::Tree tree = config({"interface GigabitEthernet 0/0"});
    const std::string port = "interface GigabitEthernet 0/0";
    EXPECT_EQ(refused(tree, "interfaces"), "/: \"interfaces\" is not known here: expected snmp, interface, ip, system");
    EXPECT_EQ(refused(tree, "interface gigabit"),
              "/interface: \"gigabit\" is not known here: expected GigabitEthernet, Cellular");
    EXPECT_EQ(refused(tree, "interface GigabitEthernet 00"),
              "/interface/GigabitEthernet: \"00\" is no port: expected slot/port such as 0/0");
    EXPECT_EQ(refused(tree, "interface GigabitEthernet"),
              "/interface/GigabitEthernet: a key is missing: expected slot/port such as 0/0");
    EXPECT_EQ(refused(tree, port + " media-type sfq"),
              "/interface/GigabitEthernet{0/0}/media-type: \"sfq\" is not accepted: expected sfp or rj45");
    EXPECT_EQ(refused(tree, port + " media-type"),
              "/interface/GigabitEthernet{0/0}/media-type: a value is missing: expected sfp or rj45");
    EXPECT_EQ(refused(tree, port + " media-type sfp rj45"),
              "/interface/GigabitEthernet{0/0}/media-type: \"rj45\" is too much: nothing may follow here");
    EXPECT_EQ(refused(tree, port + " ip address"),
              "/interface/GigabitEthernet{0/0}/ip/address: name a leaf or an entry below it");
    EXPECT_EQ(refused(tree, port + " port 0/1"),
              "/interface/GigabitEthernet{0/0}/port: a key comes and goes with its entry");
    EXPECT_EQ(refused(tree, "ip dhcp pool lease lease-hours 24"),
              "/ip/dhcp/pool/lease/lease-hours: \"24\" is not accepted: expected 0..23");
    EXPECT_EQ(refused(tree, "ip dhcp pool options option 3 text a\"b"),
              "/ip/dhcp/pool/options/option{3}/text: \"a\"b\" is not accepted: expected 1..200 characters: printable "
              "ASCII on one line, no double quotes");
    EXPECT_EQ(refused(tree, "ip dhcp pool options option 3 text \xff"),
              "/ip/dhcp/pool/options/option{3}/text: \"\\xff\" is not accepted: expected 1..200 characters: printable "
              "ASCII on one line, no double quotes");
    EXPECT_EQ(refused(tree, "snmp trap target host 162"),
              "/snmp/trap/target: \"host\" is no target-address: expected an IPv4 address such as 192.168.1.1 or an "
              "IPv6 address such as 2001:db8::1");
    EXPECT_EQ(refused(tree, "led status lan 1"), "/led/status/lan: this is not configuration");
    EXPECT_EQ(refused(tree, "-" + port + " media-type"),
              "/interface/GigabitEthernet{0/0}/media-type: it is not set and has its default");
    EXPECT_EQ(refused(tree, "-interface Cellular 1/0"), "/interface/Cellular{1/0}: it does not exist");
    EXPECT_EQ(refused(tree, "/interface/GigabitEthernet{0/0}/description hello"), "");
    EXPECT_EQ(refused(tree, "/interface/GigabitEthernet 0/1 description hello"), "");
}

TEST(Edit, ExplainsBrokenRules)
{
    const std::string rule = "ip nat inside source static tcp-udp-list ";
    const auto complete_rule = [&](int id) {
        const std::string one = rule + std::to_string(id);
        return Lines{one + " tcp_udp tcp", one + " local-addr 1.1.1.1", one + " interface global-port 1",
                     one + " interface Cellular 1/0"};
    };
    EXPECT_EQ(broken({"-ip"}), "/ip/dhcp/pool/network/dhcp-subnet-prefix: dhcp-subnet-prefix is missing: expected an "
                               "IPv4 prefix such as 10.0.23.0/24");
    EXPECT_EQ(broken({"ip dhcp pool mac-binding 02:00:00:00:00:01 fixed-address 10.0.23.8",
                      "ip dhcp pool mac-binding 02:00:00:00:00:02"}),
              "/ip/dhcp/pool/mac-binding{02:00:00:00:00:02}/fixed-address: fixed-address is missing: expected an IPv4 "
              "address such as 192.168.1.1");
    EXPECT_EQ(broken({"ip dhcp pool mac-binding 02:00:00:00:00:01 fixed-address 10.0.23.8",
                      "ip dhcp pool mac-binding 02:00:00:00:00:02 fixed-address 10.0.23.8"}),
              "/ip/dhcp/pool/mac-binding{02:00:00:00:00:02}: fixed-address is already used by "
              "/ip/dhcp/pool/mac-binding{02:00:00:00:00:01}");
    EXPECT_EQ(broken({"ip dhcp pool options option 3 number 1", "ip dhcp pool options option 6"}),
              "/ip/dhcp/pool/options/option{6}: one of these is missing: raw, text, number, ip");
    EXPECT_EQ(broken({"interface GigabitEthernet 0/0 ip address v4 ip 10.1.1.1"}),
              "/interface/GigabitEthernet{0/0}/ip/address/v4: address and mask go together");
    EXPECT_EQ(broken(complete_rule(1)), "/ip/nat/inside/source/static/tcp-udp-list{1}/interface/Cellular: \"1/0\" does "
                                        "not exist in /interface/Cellular/port");
    Lines many = {"interface Cellular 1/0"};
    for (int id = 1; id <= 29; id++) {
        const Lines one = complete_rule(id);
        many.insert(many.end(), one.begin(), one.end());
    }
    EXPECT_EQ(broken(many), "/ip/nat/inside/source/static/tcp-udp-list{29}: too many: at most 28 of tcp-udp-list are "
                            "allowed");
}

TEST(Edit, ReplacesTheChosenCaseAndKeepsDefaultsPresent)
{
    const std::string option = "ip dhcp pool options option 6 ";
    model::Tree tree = config({option + "ip 10.0.0.2", option + "ip 10.0.0.1"});
    proto::Error error;
    ASSERT_TRUE(model::set(models(), &tree, words(option + "text dns"), &error));
    ASSERT_TRUE(model::set(models(), &tree, words("interface GigabitEthernet 0/0"), &error));
    const std::string text = shown(model::to_tree(tree.get(), true));
    EXPECT_NE(text.find("option{ code=6! text=dns } "), std::string::npos) << text;
    EXPECT_NE(text.find("GigabitEthernet{ port=0/0! media-type=rj45* } "), std::string::npos) << text;
    ASSERT_TRUE(model::set(models(), &tree, words("interface GigabitEthernet 0/0 media-type rj45"), &error));
    EXPECT_NE(shown(model::to_tree(tree.get(), false)).find("media-type=rj45 "), std::string::npos);
    for (const char *again : {"interface GigabitEthernet 0/0", "interface GigabitEthernet 0/0 media-type rj45",
                              "ip dhcp pool options option 7 ip 10.0.0.1", "ip dhcp pool options option 7 ip 10.0.0.1"})
        EXPECT_TRUE(model::set(models(), &tree, words(again), &error)) << again << ": " << error.text;
    ASSERT_TRUE(model::remove(models(), &tree, words("interface"), &error)); // the first top-level node
    EXPECT_EQ(shown(model::to_tree(tree.get(), false)).find("GigabitEthernet"), std::string::npos);
}

TEST(LoadJson, TakesWholeDocumentsOnly)
{
    const model::Tree base = config({"ip dhcp pool options option 6 ip 10.0.0.2", "snmp disable false"});
    proto::Error error;
    for (const char *text : {"", " ", "{", "{\"gw-snmp:snmp\":{}", "{} {}", "[]", "{\"gw-snmp:snmp\":{}}}", "{\"a}",
                             "{\"gw-snmp:snmp\":{\"disable\":\"no\"}}", "{\"gw-led:led\":{\"status\":{\"lan\":1}}}",
                             "{\"gw-system:ip\":{\"dhcp\":{\"nope\":1}}}", "{\"x:y\":{}}",
                             "{\"gw-snmp:snmp\":{\"disable\":true,\"disable\":false}}", "{\"\xff\":1}"}) {
        model::Tree tree = model::duplicate(base.get());
        EXPECT_FALSE(model::load_json(models(), &tree, text, true, &error)) << text;
        EXPECT_TRUE(model::identical(tree.get(), base.get())) << text;
        EXPECT_FALSE(error.text.empty());
    }
    model::Tree tree = model::duplicate(base.get());
    EXPECT_FALSE(model::load_json(models(), &tree, "{\"gw-snmp:snmp\":\n{\"disable\":\"no\"}}", false, &error));
    EXPECT_EQ(error.path, "/snmp/disable");
    EXPECT_NE(error.text.find("expected true or false (line 2)"), std::string::npos) << error.text;

    const std::string number = R"({"gw-system:ip":{"dhcp":{"pool":{"options":{"option":[{"code":6,"number":4}]}}}}})";
    ASSERT_TRUE(model::load_json(models(), &tree, number, false, &error)) << error.text;
    ASSERT_TRUE(model::validate(models(), &tree, &error)) << error.text;
    EXPECT_EQ(shown(model::changes(base.get(), tree.get())),
              (Lines{"- /ip/dhcp/pool/options/option{6}/ip 10.0.0.2>", "+ /ip/dhcp/pool/options/option{6}/number >4"}));
    ASSERT_TRUE(model::load_json(models(), &tree, "{\"gw-snmp:snmp\":{\"disable\":false}}", true, &error));
    EXPECT_FALSE(model::validate(models(), &tree, &error)); // the pool is gone
}

TEST(Changes, ShowWhatDiffersInEffect)
{
    const model::Tree before = config({"interface GigabitEthernet 0/0 media-type sfp", "interface Cellular 1/0",
                                       "ip dhcp pool options option 6 ip 10.0.0.2"});
    const model::Tree after =
        changed(before, {"-interface GigabitEthernet 0/0 media-type", "-interface Cellular 1/0",
                         "ip dhcp pool options option 6 ip 10.0.0.1", "snmp disable true", "snmp trap target ::1 162"});
    EXPECT_EQ(shown(model::changes(before.get(), after.get())),
              (Lines{"+ /snmp/trap/target{::1 162} >", "- /interface/Cellular{1/0} >",
                     "~ /interface/GigabitEthernet{0/0}/media-type sfp>rj45",
                     "~ /ip/dhcp/pool/options/option{6}/ip 10.0.0.2>10.0.0.2 10.0.0.1"}));
    const model::Tree explicit_only = changed(before, {"snmp disable true"});
    EXPECT_TRUE(model::changes(before.get(), explicit_only.get()).empty());
    EXPECT_FALSE(model::identical(before.get(), explicit_only.get()));
}

std::string offered(const model::Tree &tree, const std::string &line, const std::string &partial,
                    proto::Source source = proto::Source::candidate)
{
    std::string text;
    for (const auto &one : model::complete(models(), tree.get(), {source, true, words(line), partial}).list)
        text += (text.empty() ? "" : " ") + (one.word.empty() ? "<" + one.help + ">" : one.word);
    return text;
}

TEST(Complete, OffersNamesKeysAndValues)
{
    const model::Tree tree =
        config({"interface GigabitEthernet 0/0", "interface Cellular 1/0", "snmp trap target ::1 7"});
    EXPECT_EQ(offered(tree, "", "i"), "interface ip");
    EXPECT_EQ(offered(tree, "", "i", proto::Source::operational), "interface-view interface-table if-mib interface ip");
    EXPECT_EQ(offered(tree, "interface GigabitEthernet", ""),
              "0/0 <Slot and port; the port must exist in the data plane. (slot/port such as 0/0)>");
    EXPECT_EQ(offered(tree, "interface GigabitEthernet 0/0", ""), "description media-type ip");
    EXPECT_EQ(offered(tree, "interface GigabitEthernet 0/0 media-type", "r"), "rj45");
    EXPECT_EQ(offered(tree, "snmp disable", ""), "true false");
    EXPECT_EQ(offered(tree, "snmp trap target ::1", "7"), "7 <UDP port of the receiver, usually 162. (1..65535)>");
    EXPECT_EQ(offered(tree, "ip nat inside source static tcp-udp-list 3 interface Cellular", ""), "1/0");
    EXPECT_EQ(offered(tree, "ip dhcp pool lease lease-hours", ""), "<Hours of the lease. (0..23 hours, default 0)>");
    EXPECT_EQ(offered(tree, "ip nothing", ""), "");
}

} // namespace
