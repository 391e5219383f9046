// Reads of operational data from scripted providers, actions, notifications and traps.
#include <algorithm>
#include <chrono>
#include <csignal>

#include <gtest/gtest.h>

#include "peer.h"

using namespace test;
using proto::DataCall;
using proto::DataKind;
using proto::DataReply;
using proto::NodeKind;
using proto::Op;
using proto::ValueType;

namespace {

constexpr std::uint32_t tag_index = 0x71d6142a;
constexpr std::uint32_t tag_name = 0x61857538;
constexpr std::uint32_t tag_mtu = 0x1cb4aedf;

DataReply if_row(std::int64_t index)
{
    DataReply reply;
    reply.kind = DataKind::next_object;
    if (index > 2) return reply;
    reply.values = {
        {tag_mtu,   0, proto::make_number(ValueType::uint32, 1500)      }, // in no order of the model
        {tag_index, 0, proto::make_number(ValueType::int32,  index)     },
        {tag_name,  0, proto::make_text(ValueType::str,      "port\x01")}
    };
    return reply;
}

DataReply value(const proto::Value &v)
{
    DataReply reply;
    reply.kind = DataKind::value;
    reply.value = v;
    return reply;
}

struct OperationalTest : testing::Test {
    AgentProcess agent;
    Application app;
    Peer client;
    std::vector<DataCall> calls; // that came
    std::vector<proto::TreeNode> nodes;

    void SetUp() override
    {
        start(agent);
        app.record = tarvod_record(1);
        ASSERT_TRUE(join(app, agent));
        serve(app);
        connect(client, agent, proto::Role::client);
    }

    void provide(const std::function<DataReply(const proto::CallData &)> &provider)
    {
        app.provider = [this, provider](const proto::CallData &call) {
            calls.push_back(call.call);
            return provider(call);
        };
    }

    // The subtree as one line: "entry(leaf=value ...)", keys with "*", error marks as "!name".
    std::string read(const std::string &line)
    {
        calls.clear();
        const std::string payload = proto::encode(proto::Get{proto::Source::operational, false, words(line)});
        const Message message = ask(client, Op::get, payload, &app);
        if (message.op != Op::reply) return "error";
        std::string out;
        for (const proto::TreeNode &node : ask_tree(message)) {
            if (node.kind == NodeKind::end) {
                out += ") ";
            } else if (node.kind == NodeKind::leaf) {
                out += (node.is_key ? "*" : "") + node.name + "=" + node.text + " ";
            } else {
                out += (node.kind == NodeKind::error_mark ? "!" + node.name + " " : node.name + "(");
            }
        }
        return out;
    }

    std::vector<proto::TreeNode> ask_tree(const Message &message)
    {
        proto::Tree tree;
        EXPECT_TRUE(proto::decode(message.payload, &tree));
        nodes = tree.nodes;
        return tree.nodes;
    }
};

} // namespace

TEST_F(OperationalTest, AnObjectListGoesOnWithFindNextWhereNextIsMinusOne)
{
    provide([](const proto::CallData &call) {
        return if_row(call.call == DataCall::find_next_object ? call.keys.at(0).number + 1 : 1);
    });
    EXPECT_EQ(read("/if-mib/ifEntry"),
              "ifEntry(*ifIndex=1 ifName=port\\x01 ifMtu=1500 ) ifEntry(*ifIndex=2 ifName=port\\x01 ifMtu=1500 ) ");
    EXPECT_EQ(calls, (std::vector<DataCall>{DataCall::get_next_object, DataCall::find_next_object,
                                            DataCall::find_next_object}));
    const proto::Complete complete{proto::Source::operational, true, words("if-mib ifEntry"), ""};
    const auto keys = ask_for<proto::Candidates>(client, Op::complete, proto::encode(complete), &app).list;
    ASSERT_GE(keys.size(), 2U) << "keys are completed from what the provider has";
    EXPECT_EQ(keys[1].word, "2");
    provide([](const proto::CallData &call) {
        EXPECT_EQ(call.path.at(0).keys.at(0), proto::make_number(ValueType::int32, 2));
        DataReply reply = if_row(2);
        reply.kind = DataKind::object;
        return reply;
    });
    EXPECT_EQ(read("/if-mib/ifEntry{2}"), "ifEntry(*ifIndex=2 ifName=port\\x01 ifMtu=1500 ) ");
    EXPECT_EQ(read("/if-mib/ifEntry{2}/ifMtu"), "ifMtu=1500 ");
    EXPECT_EQ(calls, std::vector<DataCall>{DataCall::get_object});
    provide([](const proto::CallData &) { return DataReply{}; });
    EXPECT_EQ(read("/if-mib/ifEntry{3}"), "error") << "there is no such entry";
}

TEST_F(OperationalTest, ATableOfElementsIsReadLeafByLeaf)
{
    provide([](const proto::CallData &call) {
        DataReply reply;
        if (call.call == DataCall::get_next) {
            reply.kind = DataKind::next_key;
            if (call.next < 1) {
                reply.next = call.next + 2;
                reply.keys = {proto::make_number(ValueType::uint32, 0),
                              proto::make_text(ValueType::str, "Cellular 1/0"),
                              proto::make_number(ValueType::enum_value, 0)};
            }
            return reply;
        }
        EXPECT_EQ(call.path.at(1).keys.size(), 3U) << "get_elem has the keys in the second place";
        switch (call.path.at(0).tag) {
        case 0x68651712:
            return value(proto::make_number(ValueType::uint32, 1428));
        case 0x3ebf7e06:
            return value(proto::make_number(ValueType::enum_value, 2));
        case 0x4b174187: // if-index
            return value(proto::make_text(ValueType::str, "seven"));
        case 0x5b8941a1:
            reply.kind = DataKind::failed;
            reply.text = "no description";
            return reply;
        default:
            return reply;
        }
    });
    const std::string row = "entry(*vpn-id=0 *if-name=Cellular 1/0 *af-type=ipv4 !if-desc !if-index if-mtu=1428 "
                            "duplex=unknown ) ";
    EXPECT_EQ(read("/interface-table/entry"), row);
    EXPECT_EQ(nodes.at(4).text, "no description");
    EXPECT_EQ(read("/interface-table/entry{0 \"Cellular 1/0\" ipv4}"), row);
    EXPECT_EQ(read("/interface-table/entry{0 \"Cellular 1/0\" ipv4}/if-mtu"), "if-mtu=1428 ");
    EXPECT_EQ(calls, std::vector<DataCall>{DataCall::get_elem});
}

TEST_F(OperationalTest, ProvidersThatGoWrongLeaveMarks)
{
    const proto::Value address = [] {
        proto::Value v;
        proto::from_text(ValueType::ipv4, "10.0.23.7", &v);
        return v;
    }();
    provide([&](const proto::CallData &call) { // never ends, and knows tags that nobody knows
        DataReply reply;
        reply.kind = call.call == DataCall::get_next ? DataKind::next_key : DataKind::object;
        reply.next = 1;
        reply.keys = {address};
        reply.values = {
            {0x12345678, 0,                               address },
            { 0x1c4b7396,         0, proto::make_text(ValueType::str, "02:00")}
        };
        return reply;
    });
    EXPECT_EQ(read("/dhcp-server/binding"), "binding(*client-address=10.0.23.7 mac-address=02:00 !binding ) !binding ");
    EXPECT_EQ(read("/dhcp-server/binding{10.0.23.7}"),
              "binding(*client-address=10.0.23.7 mac-address=02:00 !binding ) ");
    EXPECT_EQ(calls.front(), DataCall::get_next) << "the provider serves entries of its last walk";
    provide([](const proto::CallData &) { return value({}); });
    EXPECT_EQ(read("/dhcp-server"), "gw-oper:dhcp-server(!binding pool-statistics(!pool-statistics ) ) ");
    EXPECT_EQ(read("/interface-table/entry[0]"), "error") << "positions mean nothing to a provider";
}

TEST_F(OperationalTest, AWholeReadIsPartialWhenProvidersAreMissing)
{
    provide([](const proto::CallData &call) {
        if (call.callpoint != "if-mib-interfaces") return DataReply{};
        return value(proto::make_number(ValueType::int32, 2));
    });
    const std::string all = read("");
    EXPECT_NE(all.find("gw-oper:if-mib(interfaces(ifNumber=2 ) )"), std::string::npos) << all;
    EXPECT_NE(all.find("!mapping"), std::string::npos) << all;
    EXPECT_EQ(all.find("gw-system:"), std::string::npos) << "no configuration";
    EXPECT_EQ(read("/led/status/lan"), "error");
    EXPECT_EQ(read("/interface"), "error");
}

TEST_F(OperationalTest, AProviderThatLeavesFailsTheReadAtOnce)
{
    app.provider = nullptr; // does not answer
    const std::string payload = proto::encode(proto::Get{proto::Source::operational, false, {"/if-mib/interfaces"}});
    const std::uint32_t id = send(client, Op::get, payload);
    const auto is_answer = [id](const Message &m) { return m.id == id; };
    EXPECT_EQ(value_of(client, "snmp disable"), "true") << "reads of configuration do not wait";
    hang_up(app.peer);
    const auto begin = std::chrono::steady_clock::now();
    ask_tree(await(client, is_answer));
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(2));
    ASSERT_EQ(nodes.size(), 3U);
    EXPECT_EQ(nodes[1].kind, NodeKind::error_mark);
}

TEST_F(OperationalTest, ActionsNotificationsAndTraps)
{
    const std::string clear = proto::encode(proto::Action{"clear-counters"});
    EXPECT_EQ(ask(client, Op::action, clear, &app).op, Op::reply);
    app.verdicts["clear_counter_action_point"] = {-1, "busy", {}};
    EXPECT_EQ(ask_error(client, Op::action, clear, &app).text, "busy");

    const auto is_event = [](const Message &m) { return m.op == Op::event; };
    const auto event_of = [&](Peer &peer) {
        proto::Event event;
        EXPECT_TRUE(proto::decode(await(peer, is_event).payload, &event));
        return event;
    };
    ask(client, Op::watch, proto::encode(proto::Watch{proto::watch_notifications | proto::watch_traps}));
    const proto::Notify notify{
        {{2051227091, 0x6b64eac0, proto::make_tag(ValueType::xmlbegin, 2051227091, 0x6b64eac0)},
         {418582328, 0, proto::make_number(ValueType::enum_value, 2)},
         {2051227091, 0x6b64eac0, proto::make_tag(ValueType::xmlend, 2051227091, 0x6b64eac0)}}
    };
    send(app.peer, Op::notify, proto::encode(notify));
    proto::Event event = event_of(client);
    EXPECT_EQ(event.name, "dhcp-config-change");
    EXPECT_EQ(event.pairs, (std::vector<proto::Pair>{
                               {"severity", "info"}
    }));

    for (int i = 0; i < 70; i++)
        send(app.peer, Op::trap, proto::encode(proto::Trap{"t" + std::to_string(i), {{"a", "b"}}}));
    EXPECT_EQ(event_of(client).name, "t0") << "a client watches, but does not pass traps on";
    Peer snmp;
    connect(snmp, agent, proto::Role::snmp);
    ask(snmp, Op::watch, proto::encode(proto::Watch{proto::watch_traps}));
    EXPECT_EQ(event_of(snmp).name, "t6") << "of 70 the last 64 were kept";
    const std::vector<proto::Pair> status = ask_for<proto::Pairs>(client, Op::status).pairs;
    EXPECT_NE(std::find(status.begin(), status.end(), proto::Pair{"traps-kept", "0"}), status.end());
    EXPECT_NE(std::find(status.begin(), status.end(), proto::Pair{"traps-dropped", "6"}), status.end());
}
