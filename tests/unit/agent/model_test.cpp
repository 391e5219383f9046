#include "agent/model/paths.h"

#include <algorithm>
#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>
#include <libyang/libyang.h>

#include "agent/model/complete.h"
#include "agent/model/edit.h"
#include "agent/model/render.h"
#include "agent/model/values.h"
#include "model_fixture.h"

namespace {

constexpr std::uint32_t system_ns = 0x6b64eac0;
const std::string nat_list = "ip/nat/inside/source/static/tcp-udp-list";

model::Target target(const std::string &path, const model::Base &base = {system_ns, {}})
{
    model::Target result;
    std::string error;
    EXPECT_TRUE(model::resolve(models(), path, base, &result, &error)) << path << ": " << error;
    return result;
}

// Edits that make a rule of Cellular 1/0.
std::string rule(int id)
{
    const std::string one = "ip nat inside source static tcp-udp-list " + std::to_string(id) + " ";
    return one + "tcp_udp tcp; " + one + "local-addr 1.1.1.1; " + one + "interface global-port 1; " + one +
           "interface Cellular 1/0; ";
}

TEST(Resolve, FindsEntriesByKeyAndByPosition)
{
    const std::string edits = "interface GigabitEthernet 0/0; interface Cellular 1/0; snmp trap target ::1 162; ";
    const model::Tree tree = config(edits + rule(9) + rule(5)); // as an operator typed them
    const std::pair<std::string, const char *> rows[] = {
        {nat_list + "[0]/id",                              "9"     },
        {"/gw-system:" + nat_list + "[1]/id",              "5"     },
        {nat_list + "[2]/id",                              "absent"},
        {nat_list + "{05}/interface/Cellular",             "1/0"   }, // made canonical
        {"/interface/GigabitEthernet{\"0/0\"}/media-type", "1"     },
        {"/interface/GigabitEthernet{0/1}/media-type",     "absent"},
        {"/snmp/trap/target{\"0:0::1\" 162}/community",    "public"},
    };
    for (const auto &[path, value] : rows) {
        const lyd_node *node = model::find(tree.get(), target(path));
        EXPECT_EQ(node ? proto::to_text(model::to_value(node)) : "absent", value) << path;
    }
    EXPECT_NE(model::find(tree.get(), target("network", {system_ns, target("/ip/dhcp/pool")})), nullptr);
    EXPECT_EQ(model::find_all(tree.get(), target(nat_list)).size(), 2U);

    const lysc_node *chosen = nullptr;
    const auto choice = [&](const std::string &path) {
        return model::chosen_case(models(), tree.get(), target(path), "interface-choice", &chosen);
    };
    ASSERT_TRUE(choice(nat_list + "{5}/interface"));
    EXPECT_EQ(model::tag_of(models(), chosen), 0x0ccbe400U);
    EXPECT_FALSE(choice(nat_list + "{6}/interface"));
    EXPECT_TRUE(model::exists(nullptr, target("/led/status")));
    EXPECT_FALSE(model::exists(tree.get(), target("/interface/GigabitEthernet{0/1}/ip/address")));
}

TEST(Resolve, RefusesWhatNamesNothing)
{
    for (const char *path : {"/interface/GigabitEthernet/port", "/interface/GigabitEthernet{0/0", "/interface{0/0}",
                             "/interface/GigabitEthernet{0/0 1}", "/interface/GigabitEthernet{\"0/0}", "//interface",
                             "/interface/GigabitEthernet{00}/port", "/interface/GigabitEthernet[-1]/port", "/nothing",
                             "/interface/GigabitEthernet[0", "/interface[0]", "/gw-snmp:interface", "snmp",
                             "/interface/GigabitEthernet{0/0}[1]", "/interface/GigabitEthernet{}/port"}) {
        model::Target result;
        std::string error;
        EXPECT_FALSE(model::resolve(models(), path, {system_ns, {}}, &result, &error)) << path;
        EXPECT_FALSE(error.empty()) << path;
    }
}

// What load() says about these models next to our own extensions.
std::string loaded(const std::vector<std::string> &bodies)
{
    const std::string dir = testing::TempDir() + "models/";
    std::filesystem::create_directory(dir);
    std::ofstream(dir + "gwx.yang") << "module gwx { yang-version 1.1; namespace urn:gwx; prefix gwx; "
                                       "extension tag-hash { argument h; } extension namespace-hash { argument h; } }";
    for (std::size_t i = 0; i < bodies.size(); i++) {
        const std::string name = "m" + std::to_string(i);
        std::ofstream(dir + name + ".yang")
            << "module " << name << " { yang-version 1.1; namespace urn:" << name << "; prefix " << name
            << "; import gwx { prefix gwx; } " << bodies[i] << "}";
    }
    std::string error;
    model::load(dir, &error);
    std::filesystem::remove_all(dir);
    return error;
}

TEST(Load, RefusesModelsThatCannotBeToldApart)
{
    const std::string leaf = "leaf a { gwx:tag-hash 7; type string; } ";
    EXPECT_EQ(loaded({leaf, "container b { " + leaf + "}"}), "");
    EXPECT_EQ(loaded({leaf, leaf}), "two models have the top-level node a");
    EXPECT_EQ(loaded({leaf, "container b { leaf a { gwx:tag-hash 8; type string; } }"}),
              "the name a is given two hashes");
    EXPECT_EQ(loaded({leaf + "leaf b { gwx:tag-hash 0x7; type string; }"}), "the names a and b share one hash");
    EXPECT_EQ(loaded({"gwx:namespace-hash 5; " + leaf, "gwx:namespace-hash 5;"}),
              "the models m0 and m1 share one namespace hash");
    EXPECT_EQ(loaded({"leaf a { type decimal64 { fraction-digits 2; } }"}),
              "the type of a has no form that applications know");
}

std::string differences(const model::Tree &before, const model::Tree &after)
{
    std::string text;
    for (const proto::Change &change : model::changes(before.get(), after.get()))
        text += std::string(1, change.op) + " " + change.path + " " + change.before + ">" + change.after + "; ";
    return text;
}

const std::string port = "interface GigabitEthernet 0/0";

// The error of one of these edits of a valid configuration, or what the models' own rules say about all; or "".
std::string refused(const std::string &edits)
{
    model::Tree tree = config(port);
    proto::Error error;
    bool ok = true;
    for (const std::string &line : words(edits, ';')) {
        const model::Tree before = model::duplicate(tree.get());
        ok = ok && apply(&tree, line, &error);
        EXPECT_EQ(ok, !model::identical(before.get(), tree.get())) << line;
    }
    return ok && model::validate(models(), &tree, &error) ? "" : error.path + ": " + error.text;
}

TEST(Edit, SaysWhatWouldBeAccepted)
{
    const std::string at = "/interface/GigabitEthernet{0/0}";
    const auto expect = [](const std::string &line, const std::string &error) { EXPECT_EQ(refused(line), error); };
    expect("interfaces", "/: \"interfaces\" is not known here: expected snmp, interface, ip, system");
    expect("interface GigabitEthernet", "/interface/GigabitEthernet: a key is missing: expected slot/port such as 0/0");
    expect(port + " media-type sfq", at + "/media-type: \"sfq\" is not accepted: expected sfp or rj45");
    expect(port + " media-type", at + "/media-type: a value is missing: expected sfp or rj45");
    expect(port + " media-type sfp rj45", at + "/media-type: \"rj45\" is too much: nothing may follow here");
    expect(port + " ip address", at + "/ip/address: name a leaf or an entry below it");
    expect(port + " port 0/1", at + "/port: a key comes and goes with its entry");
    expect("ip dhcp pool options option 3 text \"\xff",
           "/ip/dhcp/pool/options/option{3}/text: \"\"\\xff\" is not accepted: expected 1..200 characters: "
           "printable ASCII on one line, no double quotes");
    expect("snmp trap target host 162", "/snmp/trap/target: \"host\" is no target-address: expected an IPv4 address "
                                        "such as 192.168.1.1 or an IPv6 address such as 2001:db8::1");
    expect("led status lan 1", "/led/status/lan: this is not configuration");
    expect("-" + port + " media-type", at + "/media-type: it is not set and has its default");
    expect("-interface Cellular 1/0", "/interface/Cellular{1/0}: it does not exist");
    expect("/interface/GigabitEthernet{0/0}/description hello", "");
    expect("/interface/GigabitEthernet 0/1 description hello", "");
}

TEST(Edit, ExplainsBrokenRules)
{
    const std::string at_rule = "/ip/nat/inside/source/static/tcp-udp-list";
    const std::string binding = "ip dhcp pool mac-binding 02:00:00:00:00:0";
    const std::string at_binding = "/ip/dhcp/pool/mac-binding{02:00:00:00:00:0";
    EXPECT_EQ(refused(binding + "1 fixed-address 10.0.23.8; " + binding + "2"),
              at_binding + "2}/fixed-address: fixed-address is missing: expected an IPv4 address such as 192.168.1.1");
    EXPECT_EQ(refused(binding + "1 fixed-address 10.0.23.8; " + binding + "2 fixed-address 10.0.23.8"),
              at_binding + "2}: fixed-address is already used by " + at_binding + "1}");
    EXPECT_EQ(refused("ip dhcp pool options option 3 number 1; ip dhcp pool options option 6"),
              "/ip/dhcp/pool/options/option{6}: one of these is missing: raw, text, number, ip");
    EXPECT_EQ(refused(port + " ip address v4 ip 10.1.1.1"),
              "/interface/GigabitEthernet{0/0}/ip/address/v4: address and mask go together");
    EXPECT_EQ(refused(rule(1)), at_rule + "{1}/interface/Cellular: \"1/0\" does not exist in /interface/Cellular/port");
    std::string many = "interface Cellular 1/0; ";
    for (int id = 1; id <= 29; id++)
        many += rule(id);
    EXPECT_EQ(refused(many), at_rule + "{29}: too many: at most 28 of tcp-udp-list are allowed");
}

TEST(Edit, ReplacesTheChosenCaseAndMaySayThingsTwice)
{
    const std::string option = "ip dhcp pool options option ";
    const std::string said = port + " media-type rj45; " + option + "7 ip 10.0.0.1; ";
    const model::Tree before = config(option + "6 ip 10.0.0.2; " + port);
    model::Tree tree = changed(before, option + "6 text dns; " + said + said);
    EXPECT_EQ(differences(before, tree),
              "- /ip/dhcp/pool/options/option{6}/ip 10.0.0.2>; + /ip/dhcp/pool/options/option{6}/text >dns; "
              "+ /ip/dhcp/pool/options/option{7} >; + /ip/dhcp/pool/options/option{7}/ip >10.0.0.1; ");
    for (const bool asked : {false, true})
        EXPECT_EQ(std::ranges::any_of(model::to_tree(tree.get(), asked).nodes, &proto::TreeNode::is_default), asked);
    proto::Error error;
    ASSERT_TRUE(apply(&tree, "-interface", &error)) << "the first top-level node";
    EXPECT_FALSE(model::exists(tree.get(), target("/interface/GigabitEthernet{0/0}")));
}

TEST(LoadJson, TakesWholeDocumentsOnly)
{
    const model::Tree base = config("ip dhcp pool options option 6 ip 10.0.0.2; snmp disable false");
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
    EXPECT_EQ(differences(base, tree),
              "- /ip/dhcp/pool/options/option{6}/ip 10.0.0.2>; + /ip/dhcp/pool/options/option{6}/number >4; ");
    ASSERT_TRUE(model::load_json(models(), &tree, "{\"gw-snmp:snmp\":{\"disable\":false}}", true, &error));
    EXPECT_FALSE(model::validate(models(), &tree, &error)); // the pool is gone
}

TEST(Changes, ShowWhatDiffersInEffect)
{
    const model::Tree before = config(port + " media-type sfp; interface Cellular 1/0; "
                                             "ip dhcp pool options option 6 ip 10.0.0.2");
    const model::Tree after =
        changed(before, "-" + port +
                            " media-type; -interface Cellular 1/0; "
                            "ip dhcp pool options option 6 ip 10.0.0.1; snmp disable true; snmp trap target ::1 162");
    EXPECT_EQ(differences(before, after), "+ /snmp/trap/target{::1 162} >; - /interface/Cellular{1/0} >; "
                                          "~ /interface/GigabitEthernet{0/0}/media-type sfp>rj45; "
                                          "~ /ip/dhcp/pool/options/option{6}/ip 10.0.0.2>10.0.0.2 10.0.0.1; ");
    EXPECT_EQ(differences(before, changed(before, "snmp disable true")), "") << "the default";
}

TEST(Complete, OffersNamesKeysAndValues)
{
    const model::Tree tree = config(port + "; interface Cellular 1/0; snmp trap target ::1 7");
    proto::Source source = proto::Source::candidate;
    const auto offered = [&](const std::string &line, const std::string &partial) {
        std::string text;
        for (const auto &one : model::complete(models(), tree.get(), {source, true, words(line), partial}).list)
            text += (text.empty() ? "" : " ") + (one.word.empty() ? "<" + one.help + ">" : one.word);
        return text;
    };
    EXPECT_EQ(offered("", "i"), "interface ip");
    EXPECT_EQ(offered("interface GigabitEthernet", ""),
              "0/0 <Slot and port; the port must exist in the data plane. (slot/port such as 0/0)>");
    EXPECT_EQ(offered("interface GigabitEthernet 0/0", ""), "description media-type ip");
    EXPECT_EQ(offered("interface GigabitEthernet 0/0 media-type", "r"), "rj45");
    EXPECT_EQ(offered("snmp disable", ""), "true false");
    EXPECT_EQ(offered("snmp trap target ::1", "7"), "7 <UDP port of the receiver, usually 162. (1..65535)>");
    EXPECT_EQ(offered("ip nat inside source static tcp-udp-list 3 interface Cellular", ""), "1/0");
    EXPECT_EQ(offered("ip dhcp pool lease lease-hours", ""), "<Hours of the lease. (0..23 hours, default 0)>");
    EXPECT_EQ(offered("ip nothing", ""), "");
    source = proto::Source::operational;
    EXPECT_EQ(offered("", "i"), "interface-view interface-table if-mib");
}

TEST(Complete, HasOneLineOfHelpForEveryNode)
{
    const auto check = [](lysc_node *node, void *, ly_bool *) {
        const bool is_offered = (node->nodetype & (LYS_CASE | LYS_INPUT | LYS_OUTPUT)) == 0;
        EXPECT_TRUE(!is_offered || (node->dsc && *node->dsc && model::help_of(node).starts_with(node->dsc)))
            << node->name;
        return LY_SUCCESS;
    };
    for (const proto::TagName &ns : model::namespaces(models()))
        lysc_module_dfs_full(model::module_of_ns(models(), ns.hash), check, nullptr);
}

} // namespace
