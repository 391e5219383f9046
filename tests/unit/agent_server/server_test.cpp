// Peers that misbehave, what roles may do, and data connections.
#include <chrono>
#include <fstream>

#include <gtest/gtest.h>
#include <unistd.h>

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
    EXPECT_EQ(decoded<proto::CdbValue>(get(disable)).value, proto::make_number(proto::ValueType::boolean, 1))
        << "as it was at the start";
    const proto::CdbPath ranges{"/gw-system:ip/dhcp/excluded-address/excluded-address-range"};
    EXPECT_EQ(ask_for<proto::CdbCount>(data, Op::cdb_count, ranges).count, 0);
    ask(data, Op::cdb_cd, proto::CdbPath{"/gw-system:interface/GigabitEthernet[0]"});
    EXPECT_EQ(get("port").op, Op::reply);
    ask(data, Op::cdb_namespace, proto::CdbNamespace{0x6b64eac0});
    EXPECT_EQ(get("interface/GigabitEthernet{0/0}/ip/address/v4/mask").op, Op::reply);
    const proto::CdbSet set{disable, proto::make_number(proto::ValueType::boolean, 0)};
    EXPECT_EQ(ask_error(data, Op::cdb_set, set).code, ErrorCode::refused);
    ask(data, Op::cdb_end);
    ask(data, Op::cdb_start, proto::CdbStart{});
    EXPECT_EQ(decoded<proto::CdbValue>(get(disable)).value.number, 0);
}
