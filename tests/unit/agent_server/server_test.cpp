// Peers that misbehave, what roles may do, data connections; reads of operational data from scripted providers,
// actions, notifications and traps.
#include <chrono>
#include <fstream>

#include <gtest/gtest.h>
#include <unistd.h>

#include "peer.h"

using namespace test;
using proto::DataCall;
using proto::DataKind;
using proto::DataReply;
using proto::ErrorCode;
using proto::NodeKind;
using proto::Op;
using proto::Role;
using proto::ValueType;

namespace {

struct ServerTest : AgentTest {
    // The others are served as before.
    void TearDown() override
    {
        EXPECT_EQ(value_of(client, "interface GigabitEthernet 0/0 ip address v4 ip"), "10.0.23.2");
        AgentTest::TearDown();
    }
};

DataReply said(DataKind kind, std::vector<proto::TagValue> values = {})
{
    return {kind, {}, -1, {}, std::move(values), ""};
}

DataReply if_row(std::int64_t index, DataKind kind = DataKind::next_object)
{
    if (index > 2) return said(kind);
    const proto::TagValue mtu{0x1cb4aedf, 0, proto::make_number(ValueType::uint32, 1500)};
    const proto::TagValue number{0x71d6142a, 0, proto::make_number(ValueType::int32, index)};
    const proto::TagValue name{0x61857538, 0, proto::make_text(ValueType::str, "port\x01")};
    return said(kind, {mtu, number, name}); // in no order of the model
}

struct OperationalTest : AgentTest {
    // The answer as one line: "entry(leaf=value ...)", keys with "*", error marks as "!name".
    std::string read(const std::string &line)
    {
        app.calls.clear();
        const Message message = ask(client, Op::get, proto::Get{proto::Source::operational, false, words(line)});
        if (message.op != Op::reply) return "error";
        std::string out;
        for (const proto::TreeNode &node : decoded<proto::Tree>(message).nodes) {
            if (node.kind == NodeKind::leaf) out += (node.is_key ? "*" : "") + node.name + "=" + node.text + " ";
            if (node.kind == NodeKind::error_mark) out += "!" + node.name + " ";
            if (node.kind == NodeKind::container || node.kind == NodeKind::entry) out += node.name + "(";
            if (node.kind == NodeKind::end) out += ") ";
        }
        return out;
    }
};

} // namespace

TEST_F(ServerTest, AFrameMayComeInPiecesAndCarryRubbish)
{
    Peer half(Role::client); // stays open, and costs nobody anything
    const std::string frame = proto::make_frame(Op::get, 100, proto::encode(proto::Get{}));
    send_bytes(half, frame.substr(0, frame.size() - 1));
    EXPECT_EQ(ask(client, Op::status).op, Op::reply);
    send_bytes(half, frame.substr(frame.size() - 1));
    EXPECT_EQ(await(half, [](const Message &m) { return m.id == 100; }).op, Op::reply);
    EXPECT_EQ(ask_error(half, Op::get, std::string("rubbish")).code, ErrorCode::malformed);
    EXPECT_EQ(ask(half, Op::get, proto::Get{}).op, Op::reply);
    send_bytes(half, frame + "GET / HTTP/1.1\r\n\r\n");
    EXPECT_TRUE(is_closed(half)) << "text after a good one";
}

TEST_F(ServerTest, WhoDoesNotBeginWithAHelloIsClosed)
{
    const auto hello = [](std::uint16_t version, Role role) {
        return proto::make_frame(Op::hello, 1, proto::encode(proto::Hello{version, role, "x", 1}));
    };
    const std::string beginnings[] = {
        proto::make_frame(Op::get, 1, proto::encode(proto::Get{})),
        proto::make_frame(Op::hello, 1, "x"),
        hello(99, Role::client),
        hello(proto::version, Role{9}),
        hello(proto::version, Role::client) + hello(proto::version, Role::client),
        std::string("\0\x20\0\0", 4), // announces 2 MiB
    };
    const auto began = std::chrono::steady_clock::now();
    for (const std::string &bytes : beginnings) {
        Peer bad;
        open_socket(bad);
        send_bytes(bad, bytes);
        EXPECT_TRUE(is_closed(bad)) << &bytes - beginnings;
    }
    EXPECT_LT(std::chrono::steady_clock::now() - began, std::chrono::seconds(4)) << "not for want of a hello";
}

TEST_F(ServerTest, APeerThatNeverReadsIsClosedBeforeItFillsTheMemory)
{
    Peer deaf(Role::client);
    const std::string everything = proto::make_frame(Op::get, 2, proto::encode(proto::Get{{}, true, {}}));
    while (send_bytes(deaf, everything))
        continue;
#ifndef __SANITIZE_ADDRESS__ // which keeps what the program has freed
    std::ifstream statm("/proc/" + std::to_string(pid) + "/statm");
    long whole = 0;
    long resident = 0;
    statm >> whole >> resident;
    EXPECT_LT(resident * sysconf(_SC_PAGESIZE), 64 << 20);
#endif
}

TEST_F(ServerTest, ManyThatSayNothingDoNotKeepOthersOut)
{
    std::vector<Peer> silent(250);
    for (Peer &peer : silent)
        EXPECT_TRUE(open_socket(peer));
    Peer other(Role::client);
    EXPECT_TRUE(is_closed(silent.front())) << "the oldest made room";
    EXPECT_TRUE(is_closed(silent.back())) << "after 5 s";
}

TEST_F(ServerTest, IdleClientsMakeRoom)
{
    edit(client, "snmp disable false"); // one that has something to lose stays
    std::vector<Peer> idle(250);
    for (Peer &peer : idle)
        connect(peer, Role::client);
    EXPECT_TRUE(is_closed(idle.front()));
    EXPECT_EQ(ask(idle.back(), Op::status).op, Op::reply);
    send_bytes(idle.back(), proto::make_frame(Op::status, 0, ""));
    EXPECT_TRUE(is_closed(idle.back())) << "nobody would learn the answer";
}

TEST_F(ServerTest, RolesRestrictOperations)
{
    // clang-format off
    const std::pair<Role, Op> forbidden[] = {
        {Role::client, Op::cdb_start}, {Role::client, Op::register_app}, {Role::client, Op::deliver},
        {Role::data, Op::get}, {Role::data, Op::notify}, {Role::application, Op::commit},
        {Role::snmp, Op::edit}, {Role::snmp, Op::action},
    };
    // clang-format on
    for (const auto &[role, op] : forbidden) {
        Peer peer(role);
        EXPECT_EQ(ask_error(peer, op).code, ErrorCode::unknown_op) << static_cast<int>(op);
    }
}

TEST_F(ServerTest, DataConnectionsReadOneSnapshot)
{
    Peer data(Role::data);
    const auto get = [&data](const std::string &path) { return ask(data, Op::cdb_get, proto::CdbPath{path}); };
    const std::string disable = "/gw-snmp:snmp/disable";
    EXPECT_EQ(ask_error(data, Op::cdb_get, proto::CdbPath{disable}).code, ErrorCode::no_session);
    ask(data, Op::cdb_start, proto::CdbStart{});
    change(client, "snmp disable false");
    EXPECT_EQ(decoded<proto::CdbValue>(get(disable)).value, proto::make_number(ValueType::boolean, 1))
        << "as it was at the start";
    const proto::CdbPath ranges{"/gw-system:ip/dhcp/excluded-address/excluded-address-range"};
    EXPECT_EQ(ask_for<proto::CdbCount>(data, Op::cdb_count, ranges).count, 0);
    ask(data, Op::cdb_cd, proto::CdbPath{"/gw-system:interface/GigabitEthernet[0]"});
    EXPECT_EQ(get("port").op, Op::reply);
    ask(data, Op::cdb_namespace, proto::CdbNamespace{0x6b64eac0});
    EXPECT_EQ(get("interface/GigabitEthernet{0/0}/ip/address/v4/mask").op, Op::reply);
    const proto::CdbSet set{disable, proto::make_number(ValueType::boolean, 0)};
    EXPECT_EQ(ask_error(data, Op::cdb_set, set).code, ErrorCode::refused);
    ask(data, Op::cdb_end);
    ask(data, Op::cdb_start, proto::CdbStart{});
    EXPECT_EQ(decoded<proto::CdbValue>(get(disable)).value.number, 0);
}

TEST_F(OperationalTest, AnObjectListGoesOnWithFindNextWhereNextIsMinusOne)
{
    app.provider = [](const proto::CallData &call) {
        return if_row(call.call == DataCall::find_next_object ? call.keys.at(0).number + 1 : 1);
    };
    EXPECT_EQ(read("/if-mib/ifEntry"), "gw-oper:if-mib(ifEntry(*ifIndex=1 ifName=port\\x01 ifMtu=1500 ) "
                                       "ifEntry(*ifIndex=2 ifName=port\\x01 ifMtu=1500 ) ) ");
    EXPECT_EQ(app.calls, (std::vector<DataCall>{DataCall::get_next_object, DataCall::find_next_object,
                                                DataCall::find_next_object}));
    const proto::Complete complete{proto::Source::operational, true, words("if-mib ifEntry"), ""};
    const auto keys = ask_for<proto::Candidates>(client, Op::complete, complete).list;
    ASSERT_GE(keys.size(), 2U) << "keys are completed from what the provider has";
    EXPECT_EQ(keys[1].word, "2");
    app.provider = [](const proto::CallData &call) {
        EXPECT_EQ(call.path.at(0).keys.at(0), proto::make_number(ValueType::int32, 2));
        return if_row(2, DataKind::object);
    };
    EXPECT_EQ(read("/if-mib/ifEntry{2}"), "gw-oper:if-mib(ifEntry(*ifIndex=2 ifName=port\\x01 ifMtu=1500 ) ) ");
    EXPECT_EQ(read("/if-mib/ifEntry{2}/ifMtu"), "gw-oper:if-mib(ifEntry(*ifIndex=2 ifMtu=1500 ) ) ");
    EXPECT_EQ(app.calls, std::vector<DataCall>{DataCall::get_object});
    app.provider = [](const proto::CallData &) { return DataReply{}; };
    EXPECT_EQ(read("/if-mib/ifEntry{3}"), "error") << "there is no such entry";
}

TEST_F(OperationalTest, ProvidersThatGoWrongLeaveMarks)
{
    proto::Value address;
    ASSERT_TRUE(proto::from_text(ValueType::ipv4, "10.0.23.7", &address));
    const std::vector<proto::TagValue> values = {
        {0x12345678, 0,                                    address }, // known to nobody
        { 0x1c4b7396,         0,      proto::make_text(ValueType::str, "02:00")},
        { 0x3214a6d6,         0, proto::make_number(ValueType::uint32,       1)}, // the host name is a text
    };
    app.provider = [&](const proto::CallData &call) { // never ends
        DataReply reply = said(call.call == DataCall::get_next ? DataKind::next_key : DataKind::object, values);
        reply.next = 1;
        reply.keys = {address};
        return reply;
    };
    const std::string entry = "gw-oper:dhcp-server(binding(*client-address=10.0.23.7 mac-address=02:00 "
                              "!host-name !binding ) ";
    EXPECT_EQ(read("/dhcp-server/binding"), entry + "!binding ) ");
    EXPECT_EQ(read("/dhcp-server/binding{10.0.23.7}"), entry + ") ");
    EXPECT_EQ(app.calls.front(), DataCall::get_next) << "the provider serves entries of its last walk";
    app.provider = [](const proto::CallData &) { return said(DataKind::value); };
    EXPECT_EQ(read("/dhcp-server"), "gw-oper:dhcp-server(!binding pool-statistics(!pool-statistics ) ) ");
    EXPECT_EQ(read("/interface-table/entry[0]"), "error") << "positions mean nothing to a provider";
}

TEST_F(OperationalTest, ActionsNotificationsAndTraps)
{
    const proto::Action clear{"clear-counters"};
    EXPECT_EQ(ask(client, Op::action, clear).op, Op::reply);
    app.verdicts["clear_counter_action_point"] = {-1, "busy", {}};
    EXPECT_EQ(ask_error(client, Op::action, clear).text, "busy");

    ask(client, Op::watch, proto::Watch{proto::watch_notifications | proto::watch_traps});
    constexpr std::uint32_t changed = 2051227091, ns = 0x6b64eac0;
    const proto::TagValue begin{changed, ns, proto::make_tag(ValueType::xmlbegin, changed, ns)};
    const proto::TagValue severity{418582328, 0, proto::make_number(ValueType::enum_value, 2)};
    const proto::TagValue end{changed, ns, proto::make_tag(ValueType::xmlend, changed, ns)};
    send(app.peer, Op::notify, proto::Notify{{severity}}); // of no notification: dropped
    const std::vector<proto::TagValue> values = {begin, severity, end};
    send(app.peer, Op::notify, proto::Notify{values});
    const proto::Event event = await_event(client);
    EXPECT_EQ(event.name, "dhcp-config-change");
    EXPECT_EQ(event.pairs, std::vector<proto::Pair>(1, {"severity", "info"}));

    for (int i = 0; i < 70; i++)
        send(app.peer, Op::trap, proto::Trap{"t" + std::to_string(i), {{"a", "b"}}});
    EXPECT_EQ(await_event(client).name, "t0") << "a client watches, but does not pass traps on";
    Peer snmp(proto::Role::snmp);
    ask(snmp, Op::watch, proto::Watch{proto::watch_traps});
    EXPECT_EQ(await_event(snmp).name, "t6") << "of 70 the last 64 were kept";
    EXPECT_EQ(status("traps-kept"), "0");
    EXPECT_EQ(status("traps-dropped"), "6");
}
