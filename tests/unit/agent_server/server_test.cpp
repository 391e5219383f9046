// Peers that misbehave, and what roles may do.
#include <csignal>

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include "peer.h"
#include "protocol/wire.h"

using namespace test;
using proto::ErrorCode;
using proto::Op;

namespace {

struct ServerTest : testing::Test {
    AgentProcess agent;
    Peer good;

    void SetUp() override
    {
        start(agent);
        connect(good, agent, proto::Role::client, "good");
    }

    // The others are served as before.
    void TearDown() override
    {
        EXPECT_EQ(value_of(good, "interface GigabitEthernet 0/0 ip address v4 ip"), "10.0.23.1");
    }
};

std::string hello(std::uint16_t version, std::uint8_t role)
{
    proto::Writer w;
    proto::put_u16(w, version);
    proto::put_u8(w, role);
    proto::put_text(w, "x");
    proto::put_u32(w, 1);
    return w;
}

} // namespace

TEST_F(ServerTest, WhatIsNoFrameClosesThatPeerOnly)
{
    const std::string get = proto::encode(proto::Get{});
    const std::string frame = proto::make_frame(Op::get, 1, get);
    const std::string cases[] = {
        std::string("\xff\xff\xff\xff\x10\x00\x00\x00\x01", 9),    // longer than any frame
        std::string("\x00\x00\x00\x04\x10\x00\x00\x00", 8),        // shorter than its header
        std::string("\x00\x00\x00\x05\x07\x00\x00\x00\x01", 9),    // no such operation
        frame + "GET / HTTP/1.1\r\n\r\n",                          // text after a good one
        proto::make_frame(Op::hello, 1, hello(proto::version, 1)), // a second hello
    };
    for (const std::string &bytes : cases) {
        Peer bad;
        connect(bad, agent, proto::Role::client);
        send_bytes(bad, bytes);
        EXPECT_TRUE(is_closed(bad));
    }
    Peer half; // stays open, and costs nobody anything
    connect(half, agent, proto::Role::client);
    send_bytes(half, frame.substr(0, frame.size() - 1));
    EXPECT_EQ(ask(good, Op::status).op, Op::reply);
    send_bytes(half, frame.substr(frame.size() - 1));
    EXPECT_EQ(await(half, [](const Message &m) { return m.id == 1; }).op, Op::reply);
    EXPECT_EQ(ask_error(half, Op::get, "rubbish").code, ErrorCode::malformed) << "a frame whose payload is wrong";
    EXPECT_EQ(ask(half, Op::get, get).op, Op::reply);
}

TEST_F(ServerTest, TheFirstMessageIsAHelloOfThisVersion)
{
    const std::pair<Op, std::string> cases[] = {
        {Op::get,   proto::encode(proto::Get{})},
        {Op::hello, hello(proto::version + 1,    1)},
        {Op::hello,         hello(proto::version,                            9)},
        {Op::hello,       "x"      }
    };
    for (const auto &[op, payload] : cases) {
        Peer bad;
        open_socket(bad, agent);
        EXPECT_EQ(ask(bad, op, payload).op, Op::error);
        EXPECT_TRUE(is_closed(bad));
    }
}

TEST_F(ServerTest, ManyThatSayNothingDoNotKeepOthersOut)
{
    std::vector<Peer> silent(250);
    for (Peer &peer : silent)
        open_socket(peer, agent);
    Peer other;
    connect(other, agent, proto::Role::client);
    EXPECT_EQ(ask(other, Op::status).op, Op::reply);
    EXPECT_TRUE(is_closed(silent.front())) << "the oldest made room";
    EXPECT_TRUE(is_closed(silent.back())) << "after 5 s";
}

TEST_F(ServerTest, APeerThatDoesNotReadIsClosed)
{
    Peer slow;
    connect(slow, agent, proto::Role::client);
    const int small = 4096;
    setsockopt(slow.fd, SOL_SOCKET, SO_RCVBUF, &small, sizeof small);
    const std::string frame =
        proto::make_frame(Op::get, 1, proto::encode(proto::Get{proto::Source::running, true, {}}));
    bool open = true;
    for (int i = 0; i < 100000 && open; i++) {
        open = send_bytes(slow, frame);
        if (i % 1000 == 0) usleep(10000);
    }
    EXPECT_FALSE(open);
}

TEST_F(ServerTest, RolesRestrictOperations)
{
    const std::pair<proto::Role, Op> forbidden[] = {
        {proto::Role::client,      Op::cdb_start   },
        {proto::Role::client,      Op::register_app},
        {proto::Role::client,      Op::deliver     },
        {proto::Role::data,        Op::get         },
        {proto::Role::data,        Op::notify      },
        {proto::Role::application, Op::commit      },
        {proto::Role::snmp,        Op::edit        },
        {proto::Role::snmp,        Op::action      }
    };
    for (const auto &[role, op] : forbidden) {
        Peer peer;
        connect(peer, agent, role);
        EXPECT_EQ(ask_error(peer, op).code, ErrorCode::unknown_op) << static_cast<int>(op);
    }
}

TEST_F(ServerTest, DataConnectionsReadOneSnapshot)
{
    Peer data;
    connect(data, agent, proto::Role::data);
    const auto get = [&data](const std::string &path) {
        return ask(data, Op::cdb_get, proto::encode(proto::CdbPath{path}));
    };
    const auto count = [&data](Op op, const std::string &path) {
        return ask_for<proto::CdbCount>(data, op, proto::encode(proto::CdbPath{path})).count;
    };
    const std::string disable = "/gw-snmp:snmp/disable";
    EXPECT_EQ(ask_error(data, Op::cdb_get, proto::encode(proto::CdbPath{disable})).code, ErrorCode::no_session);
    ask(data, Op::cdb_start, proto::encode(proto::CdbStart{}));
    edit(good, "snmp disable false");
    commit(good);
    proto::CdbValue value;
    ASSERT_TRUE(proto::decode(get(disable).payload, &value));
    EXPECT_EQ(value.value, proto::make_number(proto::ValueType::boolean, 1)) << "as it was at the start";
    EXPECT_EQ(count(Op::cdb_exists, "/gw-system:ip/dhcp/excluded-address"), 1);
    EXPECT_EQ(count(Op::cdb_count, "/gw-system:ip/dhcp/excluded-address/excluded-address-range"), 0);
    EXPECT_EQ(count(Op::cdb_count, "/gw-system:interface/Cellular"), 1);
    const proto::CdbPath gigabit{"/gw-system:interface/GigabitEthernet[0]"};
    EXPECT_EQ(ask(data, Op::cdb_cd, proto::encode(gigabit)).op, Op::reply);
    EXPECT_EQ(get("port").op, Op::reply);
    ask(data, Op::cdb_namespace, proto::encode(proto::CdbNamespace{0x6b64eac0}));
    EXPECT_EQ(get("interface/GigabitEthernet{0/0}/ip/address/v4/mask").op, Op::reply);
    const proto::CdbSet set{disable, proto::make_number(proto::ValueType::boolean, 0)};
    EXPECT_EQ(ask_error(data, Op::cdb_set, proto::encode(set)).code, ErrorCode::refused);
    ask(data, Op::cdb_end);
    ask(data, Op::cdb_start, proto::encode(proto::CdbStart{}));
    ASSERT_TRUE(proto::decode(get(disable).payload, &value));
    EXPECT_EQ(value.value.number, 0);
}
