#include <gtest/gtest.h>

#include <thread>

#include "protocol/data.h"
#include "unit/platform/daemon.h"

using proto::make_text;
using proto::Op;
using proto::ValueType;

namespace {

std::string read_text(tollan_ctx *ctx, const char *path)
{
    confd_value_t value;
    if (tollan_read_val(ctx, path, &value) != 0) return "error " + std::to_string(confd_errno);
    EXPECT_EQ(value.type, C_BUF);
    std::string text = reinterpret_cast<const char *>(value.val.buf.ptr);
    tollan_release_val(&value);
    return text;
}

void serve_read(const peer::Handle &agent, const proto::Value &value)
{
    proto::CdbStart session;
    EXPECT_TRUE(decode(peer::serve_payload(agent, Op::cdb_start, {}).payload, &session));
    EXPECT_EQ(session.database, proto::Database::running);
    peer::serve(agent, Op::cdb_get, proto::CdbValue{value});
    peer::serve_payload(agent, Op::cdb_end, {});
}

TEST(ReadVal, FromInsideACallbackOverAConnectionOfItsOwn)
{
    const peer::Handle listener = peer::listen_here();
    Daemon daemon;
    start(&daemon);
    proto::Register record;
    const peer::Handle control = accept_registration(listener, &record);
    ASSERT_EQ(wait_result(daemon), 0);
    std::string first;
    std::string second;
    {
        const std::lock_guard<std::mutex> guard(calls.lock);
        calls.hook = [&](tollan_ctx *ctx) {
            first = read_text(ctx, "/a");
            second = read_text(ctx, "/b");
        };
    }
    peer::send_message(control, Op::deliver, 1, encode(make_delivery(1, 0)));
    {
        const peer::Handle data = peer::greet(listener, proto::Role::data);
        serve_read(data, make_text(ValueType::buf, "lan"));
    } // the agent restarts
    const peer::Handle data = peer::greet(listener, proto::Role::data);
    serve_read(data, make_text(ValueType::buf, ""));
    EXPECT_EQ(peer::read_message(control).id, 1U);
    EXPECT_EQ(first, "lan");
    EXPECT_EQ(second, "");
    finish(&daemon);
    EXPECT_TRUE(peer::sees_end(data));
}

TEST(ReadVal, OneSlowAnswerDoesNotHoldUpAnotherThread)
{
    const peer::Handle listener = peer::listen_here();
    std::string slow_text;
    std::thread slow([&] { slow_text = read_text(nullptr, "/slow"); });
    const peer::Handle kept = peer::greet(listener, proto::Role::data);
    std::string quick_text;
    std::thread quick([&] { quick_text = read_text(nullptr, "/quick"); });
    {
        const peer::Handle own = peer::greet(listener, proto::Role::data);
        serve_read(own, make_text(ValueType::buf, "second"));
        quick.join();
        EXPECT_TRUE(peer::sees_end(own));
    }
    serve_read(kept, make_text(ValueType::buf, "first"));
    slow.join();
    EXPECT_EQ(quick_text, "second");
    EXPECT_EQ(slow_text, "first");
    tollan_module_deinit(nullptr);
}

TEST(ReadVal, AMissingValueKeepsItsErrorAndTheConnection)
{
    const peer::Handle listener = peer::listen_here();
    std::string missing;
    proto::Value list;
    list.type = ValueType::list;
    list.list = {make_text(ValueType::buf, "one"), make_text(ValueType::binary, "two")};
    confd_value_t value = {};
    std::thread reader([&] {
        missing = read_text(nullptr, "/none");
        EXPECT_EQ(tollan_read_val(nullptr, "/list", &value), 0);
    });
    // The connection that an earlier test left is gone: a new one is made in its place.
    const peer::Handle data = peer::greet(listener, proto::Role::data);
    peer::serve_payload(data, Op::cdb_start, {});
    const peer::Message request = peer::read_message(data);
    const proto::Error error = {proto::ErrorCode::not_exists, "/none", "no value"};
    peer::send_message(data, Op::error, request.id, encode(error));
    peer::serve_payload(data, Op::cdb_end, {});
    serve_read(data, list);
    reader.join();
    EXPECT_EQ(missing, "error " + std::to_string(CONFD_ERR_NOEXISTS));
    ASSERT_EQ(value.type, C_LIST);
    ASSERT_EQ(value.val.list.size, 2U);
    EXPECT_STREQ(reinterpret_cast<const char *>(value.val.list.ptr[1].val.buf.ptr), "two");
    tollan_release_val(&value);
    EXPECT_EQ(value.type, C_NOEXISTS);
}

} // namespace
