#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>

#include <csignal>
#include <thread>

#include "platform/confd/session.h"
#include "protocol/data.h"
#include "unit/platform/peer.h"

using peer::Handle;
using proto::Op;

namespace {

proto::Value ipv4(const char *text)
{
    proto::Value v;
    EXPECT_TRUE(proto::from_text(proto::ValueType::ipv4, text, &v));
    return v;
}

int connect_here(int sock)
{
    const sockaddr_in here = peer::address();
    return cdb_connect(sock, CDB_DATA_SOCKET, reinterpret_cast<const sockaddr *>(&here), sizeof here);
}

// A connected data socket and the agent's end of it.
struct Pair {
    Handle listener = peer::listen_here();
    Handle sock{socket(AF_INET, SOCK_STREAM, 0)};
    Handle agent;
    Pair()
    {
        std::thread client([&] { EXPECT_EQ(connect_here(sock.fd), CONFD_OK); });
        agent = peer::greet(listener, proto::Role::data);
        client.join();
    }
};

std::chrono::steady_clock::time_point soon()
{
    return std::chrono::steady_clock::now() + std::chrono::milliseconds(50);
}

TEST(Connect, WithoutAnAnswerFailsAndLeavesTheDescriptorToTheCaller)
{
    const Handle sock(socket(AF_INET, SOCK_STREAM, 0));
    EXPECT_TRUE(connect_here(sock.fd) == CONFD_ERR && confd_errno == CONFD_ERR_OS);
    EXPECT_NE(std::string(confd_lasterr()).find("refused"), std::string::npos);
    EXPECT_EQ(fcntl(sock.fd, F_GETFD), FD_CLOEXEC) << "open, and set before any wait";
    const Handle silent = peer::listen_here();
    const sockaddr_in here = peer::address();
    EXPECT_EQ(confd::connect_data(sock.fd, reinterpret_cast<const sockaddr *>(&here), sizeof here, soon()), CONFD_ERR);
}

TEST(Requests, GiveValuesOfTheRightTypeOnly)
{
    Pair pair;
    std::thread agent([&] {
        const auto request = peer::serve(pair.agent, Op::cdb_get, proto::CdbValue{ipv4("10.0.0.7")});
        EXPECT_EQ(fakes::decoded<proto::CdbPath>(request).path, "/ip/list[3]/address");
        peer::refuse(pair.agent, proto::ErrorCode::not_exists, "/ip", "no value");
    });
    std::uint16_t port = 99;
    EXPECT_EQ(cdb_get_u_int16(pair.sock.fd, &port, "/ip/list[%d]/%s", 3, "address"), CONFD_ERR);
    EXPECT_TRUE(confd_errno == CONFD_ERR_BADTYPE && port == 99);
    EXPECT_EQ(cdb_get_u_int16(pair.sock.fd, &port, "/ip"), CONFD_ERR);
    EXPECT_TRUE(confd_errno == CONFD_ERR_NOEXISTS && confd_lasterr() == std::string("/ip: no value"));
    agent.join();
    EXPECT_EQ(cdb_exists(pair.sock.fd, "/%s", std::string(2000, 'x').c_str()), CONFD_ERR)
        << "cut, it would name another";
}

TEST(Trouble, BadAnswersFailAndTheNextSessionConnectsAgainInPlace)
{
    Pair pair;
    const int number = pair.sock.fd;
    const std::string answer = encode(proto::CdbCount{1});
    for (int trouble = 0; trouble < 4; trouble++) {
        std::thread agent([&] {
            const std::uint32_t id = peer::read_message(pair.agent).id;
            const std::string whole = proto::make_frame(Op::reply, id, answer);
            const std::string sent[] = {"", whole.substr(0, whole.size() - 1), "HTTP/1.1 400 Bad Request\r\n\r\n",
                                        proto::make_frame(Op::reply, id + 1, answer)};
            peer::send_bytes(pair.agent, sent[trouble]);
            if (trouble < 2) shutdown(pair.agent.fd, SHUT_RDWR);
            pair.agent = peer::greet(pair.listener, proto::Role::data);
            peer::serve_payload(pair.agent, Op::cdb_start, {});
        });
        EXPECT_TRUE(cdb_exists(number, "/led") == CONFD_ERR && confd_errno == CONFD_ERR_OS) << trouble;
        EXPECT_EQ(cdb_start_session2(number, CDB_OPERATIONAL, CDB_LOCK_SESSION | CDB_LOCK_PARTIAL), CONFD_OK);
        EXPECT_EQ(fcntl(number, F_GETFD), FD_CLOEXEC);
        agent.join();
    }
}

TEST(Trouble, AnAnswerAfterTheDeadlineIsNotTakenForTheNextOne)
{
    Pair pair;
    proto::Value value;
    EXPECT_EQ(confd::get_value(pair.sock.fd, "/slow", soon(), &value), CONFD_ERR);
    peer::serve(pair.agent, Op::cdb_get, proto::CdbValue{ipv4("10.0.0.1")});
    in_addr address = {};
    EXPECT_EQ(cdb_get_ipv4(pair.sock.fd, &address, "/other"), CONFD_ERR);
    EXPECT_EQ(address.s_addr, 0U);
}

TEST(Trouble, WithoutAnAgentTheSessionFailsAndTheDescriptorStaysOpen)
{
    Pair pair;
    pair.agent = Handle();
    pair.listener = Handle();
    EXPECT_EQ(cdb_start_session(pair.sock.fd, CDB_RUNNING), CONFD_ERR);
    EXPECT_GE(fcntl(pair.sock.fd, F_GETFD), 0);
    // The number alone must not bring back the old connection's address.
    const Handle unconnected(socket(AF_INET, SOCK_STREAM, 0));
    const int reused = dup2(unconnected.fd, pair.sock.fd);
    const Handle listener = peer::listen_here();
    EXPECT_EQ(cdb_start_session(reused, CDB_RUNNING), CONFD_ERR);
    pollfd p = {listener.fd, POLLIN, 0};
    EXPECT_EQ(poll(&p, 1, 0), 0) << "connected nevertheless";
}

TEST(Trouble, SignalsAndSingleBytesInterruptNothing)
{
    struct sigaction action = {};
    action.sa_handler = [](int) {};
    sigaction(SIGUSR1, &action, nullptr); // without SA_RESTART
    Pair pair;
    const pthread_t reader = pthread_self();
    std::thread agent([&] {
        const std::uint32_t id = peer::read_message(pair.agent).id;
        for (const char byte : proto::make_frame(Op::reply, id, encode(proto::CdbCount{4}))) {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
            pthread_kill(reader, SIGUSR1);
            peer::send_bytes(pair.agent, {&byte, 1});
        }
    });
    EXPECT_EQ(cdb_num_instances(pair.sock.fd, "list"), 4) << confd_lasterr();
    agent.join();
}

} // namespace
