#include "agent/model/paths.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>
#include <libyang/libyang.h>

#include "agent/model/values.h"
#include "model_fixture.h"

namespace {

using proto::ValueType;

constexpr std::uint32_t system_ns = 0x6b64eac0;
const std::string nat_list = "ip/nat/inside/source/static/tcp-udp-list";

model::Target target(const std::string &path, const model::Base &base = {system_ns, {}})
{
    model::Target result;
    std::string error;
    EXPECT_TRUE(model::resolve(models(), path, base, &result, &error)) << path << ": " << error;
    return result;
}

TEST(Resolve, FindsEntriesByKeyAndByPosition)
{
    const std::string rule = "ip nat inside source static tcp-udp-list ";
    std::string edits = "interface GigabitEthernet 0/0; interface Cellular 1/0; snmp trap target ::1 162; ";
    for (const std::string &at : {rule + "9 ", rule + "5 "}) // in the operator's order
        edits += at + "tcp_udp udp; " + at + "local-addr 10.0.23.9; " + at + "interface global-port 80; " + at +
                 "interface Cellular 1/0; ";
    const model::Tree tree = config(edits);
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

TEST(Paths, AreShownAsTheyAreRead)
{
    const model::Tree tree = config("snmp trap target ::1 162; ip dhcp pool options option 6 ip 10.0.0.1");
    for (const char *path : {"/snmp/trap/target{::1 162}/community", "/ip/dhcp/pool/options/option{6}/ip{10.0.0.1}"})
        EXPECT_EQ(model::keypath_of(model::find(tree.get(), target(path))), path);
    EXPECT_EQ(model::keypath_of_library_path("/m:a/l[k='x]/ y'][j=\"it's\"]/n:b"), "/a/l{\"x]/ y\" it's}/b");

    // Innermost first: the keys of the entry, the list.
    const proto::KeyPath wire = model::wire_path(models(), model::find(tree.get(), target("/snmp/trap/target/")));
    ASSERT_EQ(wire.size(), 4U);
    ASSERT_EQ(wire[0].keys.size(), 2U);
    EXPECT_EQ(wire[0].keys[0].type, ValueType::ipv6);
    EXPECT_EQ(wire[0].keys[1], proto::make_number(ValueType::uint16, 162));
    EXPECT_EQ(wire[1].tag, proto::tag_of_name("target"));
}

TEST(Values, OfProvidersAreCheckedAgainstTheModel)
{
    const auto text_of = [](const std::string &path, const proto::Value &value) {
        std::string text;
        std::string error;
        const bool ok = model::value_text(model::schema_of(target(path)), value, &text, &error);
        return ok ? text : "error: " + error;
    };
    const std::string detail = "/interface-view/detail/GigabitEthernet{0/0}/";
    EXPECT_EQ(text_of(detail + "admin-state", proto::make_number(ValueType::enum_value, 1)), "down");
    EXPECT_EQ(text_of(detail + "admin-state", proto::make_number(ValueType::enum_value, 2)),
              "error: \"2\" does not fit admin-state: expected up or down");
    EXPECT_EQ(text_of(detail + "role", proto::make_text(ValueType::str, "L\nN\xff")), "L\\x0aN\\xff");
    EXPECT_EQ(text_of(detail + "mtu", proto::make_number(ValueType::uint32, 1)),
              "error: a value of type 12 is not mtu's");
}

// What load() says about these models next to our own extensions.
std::string loaded(const std::vector<std::string> &bodies)
{
    char dir[] = "/tmp/modelsXXXXXX";
    if (!mkdtemp(dir)) return "no directory";
    const auto write = [&dir](const std::string &name, const std::string &body) {
        std::ofstream(dir + ("/" + name + ".yang"))
            << "module " + name + " { yang-version 1.1; namespace urn:" + name + "; prefix " + name + "; " + body + "}";
    };
    write("gwx", "extension tag-hash { argument h; } extension namespace-hash { argument h; } ");
    for (std::size_t i = 0; i < bodies.size(); i++)
        write("m" + std::to_string(i), "import gwx { prefix gwx; } " + bodies[i]);
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

} // namespace
