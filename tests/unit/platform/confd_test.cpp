// What the daemon calls to read data, and what calls the daemon to provide them.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>

#include <csignal>
#include <cstring>
#include <thread>

#include "platform/confd/convert.h"
#include "platform/confd/names.h"
#include "platform/confd/provider.h"
#include "platform/confd/session.h"
#include "protocol/data.h"
#include "unit/platform/peer.h"

using peer::Handle;
using proto::DataCall;
using proto::DataKind;
using proto::make_text;
using proto::Op;
using proto::ValueType;

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

proto::PathElement element(std::uint32_t tag, std::vector<proto::Value> keys = {})
{
    return {!keys.empty(), tag, 0, std::move(keys)};
}

TEST(Keypath, HasALimitAndItsTextIsCutAndPrintable)
{
    confd::learn_names(std::vector(1, proto::TagName{101, "interface"}));
    confd::Arena arena;
    confd_hkeypath_t path;
    const proto::Value key = make_text(ValueType::buf, "0\n0");
    ASSERT_TRUE(confd::to_c({element(999), element(0, {key, key}), element(101)}, &arena, &path));
    const std::string whole = "/interface{0\\x0a0 0\\x0a0}/?";
    for (const int size : {64, 5, 1, 0}) {
        char text[64] = "x";
        EXPECT_EQ(confd_pp_kpath(text, size, &path), static_cast<int>(whole.size()));
        EXPECT_EQ(text, size > 0 ? whole.substr(0, static_cast<std::size_t>(size) - 1) : "x");
    }
    for (const int more : {0, 1}) {
        EXPECT_EQ(confd::to_c(proto::KeyPath(CONFD_MAX_DEPTH + more, element(1)), &arena, &path), more == 0);
        EXPECT_EQ(confd::to_c({element(0, {CONFD_MAX_KEYS - 1U + more, key})}, &arena, &path), more == 0);
    }
}

TEST(Names, StayValidWhenALaterAgentRenames)
{
    const auto learn = [](const char *name) {
        confd::learn_names(std::vector(1, proto::TagName{201, name}));
        return confd_hash2str(201);
    };
    const char *before = learn("first");
    EXPECT_STREQ(learn("second"), "second");
    EXPECT_STREQ(before, "first");
}

using Act = int (*)(confd_trans_ctx *tctx);
Act act; // what the callback under test does

int get_elem(confd_trans_ctx *tctx, confd_hkeypath_t *)
{
    return act(tctx);
}

proto::DataReply ask(DataCall call, Act callback, const char *callpoint = "point")
{
    confd::DaemonContext context = {};
    confd_data_cbs cbs = {};
    std::memcpy(cbs.callpoint, "point", sizeof "point");
    cbs.get_elem = get_elem;
    EXPECT_EQ(confd_register_data_cb(&context.handle, &cbs), CONFD_OK);
    EXPECT_EQ(confd_register_data_cb(&context.handle, &cbs), CONFD_ERR) << "a second owner";
    act = callback;
    return confd::answer_call(&context, {callpoint, call, {}, -1, {}}).list.at(0);
}

int reply_text(confd_trans_ctx *tctx, const char *text)
{
    confd_value_t v = {};
    v.type = C_STR;
    v.val.s = text;
    return confd_data_reply_value(tctx, &v);
}

TEST(Reply, TheFirstGoodOneStandsAsItWasWhenGiven)
{
    const proto::DataReply reply = ask(DataCall::get_elem, [](confd_trans_ctx *tctx) {
        EXPECT_EQ(reply_text(tctx, nullptr), CONFD_ERR);
        EXPECT_EQ(confd_errno, CONFD_ERR_BADTYPE);
        EXPECT_EQ(reply_text(tctx, std::string(proto::max_frame, 'x').c_str()), CONFD_ERR);
        char text[] = "good";
        EXPECT_EQ(reply_text(tctx, text), CONFD_OK) << "a refused reply is none";
        std::memcpy(text, "gone", sizeof text);
        EXPECT_EQ(reply_text(tctx, "second"), CONFD_ERR);
        EXPECT_EQ(confd_errno, CONFD_ERR_USAGE);
        return confd_data_reply_not_found(tctx);
    });
    EXPECT_EQ(reply.kind, DataKind::value);
    EXPECT_EQ(reply.value.bytes, "good");
}

TEST(Reply, NoneIsAFailureThatSaysWhyAndMissingCallbacksAreNotCalled)
{
    const proto::DataReply failed = ask(DataCall::get_elem, [](confd_trans_ctx *tctx) -> int {
        confd_trans_seterr(tctx, "first");
        confd_trans_seterr(tctx, "unknown leaf %d", 5);
        return CONFD_ERR;
    });
    EXPECT_EQ(failed.kind, DataKind::failed);
    EXPECT_EQ(failed.text, "unknown leaf 5");
    const proto::DataReply silent = ask(DataCall::get_elem, [](confd_trans_ctx *) -> int { return CONFD_OK; });
    EXPECT_TRUE(silent.kind == DataKind::failed && !silent.text.empty());
    const Act found = [](confd_trans_ctx *tctx) -> int { return reply_text(tctx, "called"); };
    EXPECT_EQ(ask(DataCall::get_object, found).kind, DataKind::failed);
    EXPECT_EQ(ask(DataCall::get_elem, found, "other").kind, DataKind::failed);
}

// Lists 0, 1, 2 ...: the walk's calls in order, "n" for a key and "o" for an object.
std::string walked;
long last_row;
std::size_t object_bytes;

int next_key(confd_trans_ctx *tctx, confd_hkeypath_t *, long next)
{
    walked += 'n';
    confd_value_t key = {};
    key.type = C_INT32;
    key.val.i32 = static_cast<std::int32_t>(next + 1);
    if (next == last_row) return confd_data_reply_next_key(tctx, nullptr, 0, -1);
    return confd_data_reply_next_key(tctx, &key, 1, next + 1);
}

int object_of_key(confd_trans_ctx *tctx, confd_hkeypath_t *path)
{
    walked += 'o';
    if (path->v[0][0].val.i32 == 1) return CONFD_ERR; // one row fails, alone
    EXPECT_EQ(path->v[1][0].val.xmltag.tag, 77U) << "the list stands behind the keys";
    const std::string text(object_bytes, 'x');
    confd_tag_value_t leaf = {};
    leaf.v.type = C_STR;
    leaf.v.val.s = text.c_str();
    return confd_data_reply_tag_value_array(tctx, &leaf, 1);
}

proto::DataReplies walk(long last, std::uint16_t rows, bool objects, std::size_t bytes = 1)
{
    confd::DaemonContext context = {};
    confd_data_cbs cbs = {};
    std::memcpy(cbs.callpoint, "point", sizeof "point");
    cbs.get_next = next_key;
    cbs.get_object = object_of_key;
    EXPECT_EQ(confd_register_data_cb(&context.handle, &cbs), CONFD_OK);
    walked.clear();
    last_row = last;
    object_bytes = bytes;
    const proto::KeyPath list(1, {false, 77, 0, {}});
    return confd::answer_call(&context, {"point", DataCall::get_next, list, -1, {}, rows, objects});
}

TEST(Walk, KeysAndTheirObjectsComeInOneAnswerUntilItIsFull)
{
    const proto::DataReplies all = walk(2, 100, true);
    EXPECT_EQ(walked, "nononon");
    ASSERT_EQ(all.list.size(), 7U);
    EXPECT_EQ(all.list[1].kind, DataKind::object);
    EXPECT_EQ(all.list[3].kind, DataKind::failed);
    EXPECT_EQ(all.list[5].kind, DataKind::object);
    EXPECT_TRUE(all.list[6].kind == DataKind::next_key && all.list[6].keys.empty());
    EXPECT_EQ(walk(5, 2, true).list.size(), 4U);
    EXPECT_EQ(walk(5, 3, false).list.back().next, 2) << "where the caller goes on";
    const proto::DataReplies full = walk(1000, 1000, true, confd::walk_bytes / 4);
    EXPECT_LT(full.list.size(), 14U);
    EXPECT_EQ(full.list.back().kind, DataKind::object) << "it pauses between rows";
    EXPECT_EQ(walk(0, 9, true, proto::max_frame).list[1].kind, DataKind::failed) << "too long for an answer";
}

} // namespace
