// Reads of operational data from scripted providers, actions, notifications and traps.
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

DataReply said(DataKind kind, std::vector<proto::TagValue> values = {}, const proto::Value &value = {})
{
    return {kind, value, -1, {}, std::move(values), ""};
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
    std::vector<DataCall> calls; // that came

    void provide(const std::function<DataReply(const proto::CallData &)> &provider)
    {
        app.provider = [this, provider](const proto::CallData &call) {
            calls.push_back(call.call);
            return provider(call);
        };
    }

    // The answer as one line: "entry(leaf=value ...)", keys with "*", error marks as "!name".
    std::string read(const std::string &line)
    {
        calls.clear();
        const Message message = ask(client, Op::get, proto::Get{proto::Source::operational, false, words(line)});
        if (message.op != Op::reply) return "error";
        std::string out;
        for (const proto::TreeNode &node : decoded<proto::Tree>(message).nodes) {
            if (node.kind == NodeKind::leaf)
                out += (node.is_key ? "*" : "") + node.name + "=" + node.text + " ";
            else if (node.kind == NodeKind::end)
                out += ") ";
            else
                out += node.kind == NodeKind::error_mark ? "!" + node.name + " " : node.name + "(";
        }
        return out;
    }
};

} // namespace

TEST_F(OperationalTest, AnObjectListGoesOnWithFindNextWhereNextIsMinusOne)
{
    provide([](const proto::CallData &call) {
        return if_row(call.call == DataCall::find_next_object ? call.keys.at(0).number + 1 : 1);
    });
    EXPECT_EQ(read("/if-mib/ifEntry"), "gw-oper:if-mib(ifEntry(*ifIndex=1 ifName=port\\x01 ifMtu=1500 ) "
                                       "ifEntry(*ifIndex=2 ifName=port\\x01 ifMtu=1500 ) ) ");
    EXPECT_EQ(calls, (std::vector<DataCall>{DataCall::get_next_object, DataCall::find_next_object,
                                            DataCall::find_next_object}));
    const proto::Complete complete{proto::Source::operational, true, words("if-mib ifEntry"), ""};
    const auto keys = ask_for<proto::Candidates>(client, Op::complete, complete).list;
    ASSERT_GE(keys.size(), 2U) << "keys are completed from what the provider has";
    EXPECT_EQ(keys[1].word, "2");
    provide([](const proto::CallData &call) {
        EXPECT_EQ(call.path.at(0).keys.at(0), proto::make_number(ValueType::int32, 2));
        return if_row(2, DataKind::object);
    });
    EXPECT_EQ(read("/if-mib/ifEntry{2}"), "gw-oper:if-mib(ifEntry(*ifIndex=2 ifName=port\\x01 ifMtu=1500 ) ) ");
    EXPECT_EQ(read("/if-mib/ifEntry{2}/ifMtu"), "gw-oper:if-mib(ifEntry(*ifIndex=2 ifMtu=1500 ) ) ");
    EXPECT_EQ(calls, std::vector<DataCall>{DataCall::get_object});
    provide([](const proto::CallData &) { return DataReply{}; });
    EXPECT_EQ(read("/if-mib/ifEntry{3}"), "error") << "there is no such entry";
}

TEST_F(OperationalTest, ProvidersThatGoWrongLeaveMarks)
{
    proto::Value address;
    ASSERT_TRUE(proto::from_text(ValueType::ipv4, "10.0.23.7", &address));
    const proto::TagValue unknown{0x12345678, 0, address};
    const proto::TagValue mac{0x1c4b7396, 0, proto::make_text(ValueType::str, "02:00")};
    provide([&](const proto::CallData &call) { // never ends, and knows tags that nobody knows
        DataReply reply = said(call.call == DataCall::get_next ? DataKind::next_key : DataKind::object, {unknown, mac});
        reply.next = 1;
        reply.keys = {address};
        return reply;
    });
    const std::string entry = "gw-oper:dhcp-server(binding(*client-address=10.0.23.7 mac-address=02:00 !binding ) ";
    EXPECT_EQ(read("/dhcp-server/binding"), entry + "!binding ) ");
    EXPECT_EQ(read("/dhcp-server/binding{10.0.23.7}"), entry + ") ");
    EXPECT_EQ(calls.front(), DataCall::get_next) << "the provider serves entries of its last walk";
    provide([](const proto::CallData &) { return said(DataKind::value); });
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
