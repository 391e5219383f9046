#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/time.h>

#include <csignal>
#include <cstring>
#include <thread>

#include "platform/confd/session.h"
#include "protocol/data.h"
#include "unit/platform/peer.h"

using peer::Handle;
using proto::Op;

namespace {

proto::Value ipv4(std::uint8_t last)
{
    proto::Value v;
    v.type = proto::ValueType::ipv4;
    v.address = {10, 0, 0, last};
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
    Handle agent = connected();

private:
    Handle connected()
    {
        int result = CONFD_ERR;
        std::thread client([&] { result = connect_here(sock.fd); });
        Handle end = peer::greet(listener, proto::Role::data);
        client.join();
        EXPECT_EQ(result, CONFD_OK);
        return end;
    }
};

TEST(Connect, WithoutAnAgentFailsAndLeavesTheDescriptorToTheCaller)
{
    const Handle sock(socket(AF_INET, SOCK_STREAM, 0));
    EXPECT_EQ(connect_here(sock.fd), CONFD_ERR);
    EXPECT_EQ(confd_errno, CONFD_ERR_OS);
    EXPECT_NE(std::string(confd_lasterr()).find("refused"), std::string::npos);
    EXPECT_EQ(fcntl(sock.fd, F_GETFD), FD_CLOEXEC) << "open, and set before any wait";
    EXPECT_EQ(connect_here(-1), CONFD_ERR);
}

TEST(Connect, AnAgentThatDoesNotAnswerIsLeftAtTheDeadline)
{
    const Handle listener = peer::listen_here();
    const Handle sock(socket(AF_INET, SOCK_STREAM, 0));
    const sockaddr_in here = peer::address();
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(100);
    EXPECT_EQ(confd::connect_data(sock.fd, reinterpret_cast<const sockaddr *>(&here), sizeof here, deadline),
              CONFD_ERR);
    EXPECT_LT(std::chrono::steady_clock::now(), deadline + std::chrono::seconds(1));
    EXPECT_EQ(confd_errno, CONFD_ERR_OS);
}

TEST(Read, ValuesOfTheRightTypeOnly)
{
    Pair pair;
    std::thread agent([&] {
        const peer::Message request = peer::serve(pair.agent, Op::cdb_get, proto::CdbValue{ipv4(7)});
        proto::CdbPath path;
        EXPECT_TRUE(decode(request.payload, &path));
        EXPECT_EQ(path.path, "/ip/list[3]/address");
        peer::serve(pair.agent, Op::cdb_get, proto::CdbValue{ipv4(8)});
        const peer::Message refused = peer::read_message(pair.agent);
        const proto::Error error = {proto::ErrorCode::not_exists, "/ip", "no value"};
        peer::send_message(pair.agent, Op::error, refused.id, encode(error));
    });
    in_addr address = {};
    EXPECT_EQ(cdb_get_ipv4(pair.sock.fd, &address, "/ip/list[%d]/%s", 3, "address"), CONFD_OK);
    EXPECT_EQ(address.s_addr, htonl(0x0a000007));
    std::uint16_t port = 99;
    EXPECT_EQ(cdb_get_u_int16(pair.sock.fd, &port, "/ip"), CONFD_ERR);
    EXPECT_EQ(confd_errno, CONFD_ERR_BADTYPE);
    EXPECT_EQ(port, 99);
    EXPECT_EQ(cdb_get_ipv4(pair.sock.fd, &address, "/ip"), CONFD_ERR);
    EXPECT_EQ(confd_errno, CONFD_ERR_NOEXISTS);
    EXPECT_STREQ(confd_lasterr(), "/ip: no value");
    agent.join();
    const std::string too_long(2000, 'x');
    EXPECT_EQ(cdb_exists(pair.sock.fd, "/%s", too_long.c_str()), CONFD_ERR);
    EXPECT_EQ(confd_errno, CONFD_ERR_BADPATH);
}

TEST(Read, CountsCasesAndWrites)
{
    Pair pair;
    std::thread agent([&] {
        peer::serve(pair.agent, Op::cdb_count, proto::CdbCount{3});
        peer::serve(pair.agent, Op::cdb_exists, proto::CdbCount{0});
        peer::serve(pair.agent, Op::cdb_case, proto::CdbValue{proto::make_tag(proto::ValueType::xmltag, 5, 6)});
        proto::CdbSet written;
        EXPECT_TRUE(decode(peer::serve_payload(pair.agent, Op::cdb_set, {}).payload, &written));
        EXPECT_EQ(written.value, proto::make_number(proto::ValueType::int32, -4));
    });
    EXPECT_EQ(cdb_num_instances(pair.sock.fd, "list"), 3);
    EXPECT_EQ(cdb_exists(pair.sock.fd, "/led"), 0);
    confd_value_t v = {};
    EXPECT_EQ(cdb_get_case(pair.sock.fd, "choice", &v, "list[%d]", 0), CONFD_OK);
    EXPECT_EQ(v.type, C_XMLTAG);
    EXPECT_EQ(v.val.xmltag.tag, 5U);
    v.type = C_INT32;
    v.val.i32 = -4;
    EXPECT_EQ(cdb_set_elem(pair.sock.fd, &v, "/led"), CONFD_OK);
    agent.join();
}

// What an agent may do instead of answering a request. The caller gets an error at once and can start over.
void half_an_answer(const Handle &agent, std::uint32_t id)
{
    const std::string whole = proto::make_frame(Op::reply, id, encode(proto::CdbCount{1}));
    peer::send_bytes(agent, std::string_view(whole).substr(0, whole.size() - 1));
    shutdown(agent.fd, SHUT_RDWR);
}

void no_answer(const Handle &agent, std::uint32_t)
{
    shutdown(agent.fd, SHUT_RDWR);
}

void garbage(const Handle &agent, std::uint32_t)
{
    peer::send_bytes(agent, "HTTP/1.1 400 Bad Request\r\n\r\n");
}

void answer_to_another(const Handle &agent, std::uint32_t id)
{
    peer::send_message(agent, Op::reply, id + 1, encode(proto::CdbCount{1}));
}

TEST(Trouble, BadAnswersFailAndTheNextSessionConnectsAgainInPlace)
{
    Pair pair;
    const int number = pair.sock.fd;
    for (const auto misbehave : {half_an_answer, no_answer, garbage, answer_to_another}) {
        std::thread agent([&] {
            misbehave(pair.agent, peer::read_message(pair.agent).id);
            pair.agent = peer::greet(pair.listener, proto::Role::data);
            peer::serve_payload(pair.agent, Op::cdb_start, {});
        });
        EXPECT_EQ(cdb_exists(number, "/led"), CONFD_ERR);
        EXPECT_EQ(confd_errno, CONFD_ERR_OS);
        EXPECT_EQ(cdb_start_session2(number, CDB_OPERATIONAL, CDB_LOCK_SESSION | CDB_LOCK_PARTIAL), CONFD_OK);
        EXPECT_EQ(fcntl(number, F_GETFD), FD_CLOEXEC);
        agent.join();
    }
}

TEST(Trouble, AnAnswerAfterTheDeadlineIsNotTakenForTheNextOne)
{
    Pair pair;
    proto::Value value;
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(50);
    EXPECT_EQ(confd::get_value(pair.sock.fd, "/slow", deadline, &value), CONFD_ERR);
    peer::serve(pair.agent, Op::cdb_get, proto::CdbValue{ipv4(1)});
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

TEST(Trouble, SignalsInterruptNothing)
{
    struct sigaction action = {};
    action.sa_handler = [](int) {};
    sigaction(SIGALRM, &action, nullptr); // without SA_RESTART
    Pair pair;
    const itimerval every_ms = {
        {0, 1000},
        {0, 1000}
    };
    std::thread agent([&] {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_BLOCK, &all, nullptr); // the reader gets them
        const std::string answer =
            proto::make_frame(Op::reply, peer::read_message(pair.agent).id, encode(proto::CdbCount{4}));
        for (const char byte : answer) {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
            peer::send_bytes(pair.agent, {&byte, 1});
        }
    });
    setitimer(ITIMER_REAL, &every_ms, nullptr);
    EXPECT_EQ(cdb_num_instances(pair.sock.fd, "list"), 4) << confd_lasterr();
    const itimerval never = {};
    setitimer(ITIMER_REAL, &never, nullptr);
    agent.join();
    signal(SIGALRM, SIG_DFL);
}

} // namespace
