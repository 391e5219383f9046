// Peers that misbehave, what roles may do, and data connections.
#include <gtest/gtest.h>

#include "peer.h"

using namespace test;
using proto::ErrorCode;
using proto::Op;
using proto::Role;

namespace {

struct ServerTest : AgentTest {
    // The others are served as before.
    void TearDown() override
    {
        EXPECT_EQ(value_of(client, "interface GigabitEthernet 0/0 ip address v4 ip"), "10.0.23.2");
        AgentTest::TearDown();
    }
};

} // namespace

TEST_F(ServerTest, AFrameMayComeInPiecesAndCarryRubbish)
{
    Peer half; // stays open, and costs nobody anything
    connect(half, Role::client);
    const std::string frame = proto::make_frame(Op::get, 100, proto::encode(proto::Get{}));
    send_bytes(half, frame.substr(0, frame.size() - 1));
    EXPECT_EQ(ask(client, Op::status).op, Op::reply);
    send_bytes(half, frame.substr(frame.size() - 1));
    EXPECT_EQ(await(half, [](const Message &m) { return m.id == 100; }).op, Op::reply);
    EXPECT_EQ(ask_error(half, Op::get, std::string("rubbish")).code, ErrorCode::malformed);
    EXPECT_EQ(ask(half, Op::get, proto::Get{}).op, Op::reply);
    send_bytes(half, frame + "GET / HTTP/1.1\r\n\r\n");
    EXPECT_TRUE(is_closed(half)) << "text after a good one";
    for (const bool first : {true, false}) {
        Peer bad;
        if (first) {
            open_socket(bad);
        } else {
            connect(bad, Role::client);
        }
        EXPECT_EQ(ask(bad, Op::hello, proto::Hello{proto::version, first ? Role{9} : Role::client, "x", 1}).op,
                  Op::error);
        EXPECT_TRUE(is_closed(bad)) << (first ? "no such role" : "a second hello");
    }
}

TEST_F(ServerTest, ManyThatSayNothingDoNotKeepOthersOut)
{
    std::vector<Peer> silent(250);
    for (Peer &peer : silent)
        EXPECT_TRUE(open_socket(peer));
    Peer other;
    connect(other, Role::client);
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
    const std::pair<Role, Op> forbidden[] = {
        {Role::client,      Op::cdb_start   },
        {Role::client,      Op::register_app},
        {Role::client,      Op::deliver     },
        {Role::data,        Op::get         },
        {Role::data,        Op::notify      },
        {Role::application, Op::commit      },
        {Role::snmp,        Op::edit        },
        {Role::snmp,        Op::action      }
    };
    for (const auto &[role, op] : forbidden) {
        Peer peer;
        connect(peer, role);
        EXPECT_EQ(ask_error(peer, op).code, ErrorCode::unknown_op) << static_cast<int>(op);
    }
}

TEST_F(ServerTest, DataConnectionsReadOneSnapshot)
{
    Peer data;
    connect(data, Role::data);
    const auto get = [&data](const std::string &path) { return ask(data, Op::cdb_get, proto::CdbPath{path}); };
    const auto count = [&data](Op op, const std::string &path) {
        return ask_for<proto::CdbCount>(data, op, proto::CdbPath{path}).count;
    };
    const std::string disable = "/gw-snmp:snmp/disable";
    EXPECT_EQ(ask_error(data, Op::cdb_get, proto::CdbPath{disable}).code, ErrorCode::no_session);
    ask(data, Op::cdb_start, proto::CdbStart{});
    edit(client, "snmp disable false");
    commit(client);
    EXPECT_EQ(decoded<proto::CdbValue>(get(disable)).value, proto::make_number(proto::ValueType::boolean, 1))
        << "as it was at the start";
    EXPECT_EQ(count(Op::cdb_exists, "/gw-system:ip/dhcp/excluded-address"), 1);
    EXPECT_EQ(count(Op::cdb_count, "/gw-system:ip/dhcp/excluded-address/excluded-address-range"), 0);
    EXPECT_EQ(count(Op::cdb_count, "/gw-system:interface/Cellular"), 1);
    EXPECT_EQ(ask(data, Op::cdb_cd, proto::CdbPath{"/gw-system:interface/GigabitEthernet[0]"}).op, Op::reply);
    EXPECT_EQ(get("port").op, Op::reply);
    ask(data, Op::cdb_namespace, proto::CdbNamespace{0x6b64eac0});
    EXPECT_EQ(get("interface/GigabitEthernet{0/0}/ip/address/v4/mask").op, Op::reply);
    const proto::CdbSet set{disable, proto::make_number(proto::ValueType::boolean, 0)};
    EXPECT_EQ(ask_error(data, Op::cdb_set, set).code, ErrorCode::refused);
    ask(data, Op::cdb_end);
    ask(data, Op::cdb_start, proto::CdbStart{});
    EXPECT_EQ(decoded<proto::CdbValue>(get(disable)).value.number, 0);
}
