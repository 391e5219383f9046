#include <gtest/gtest.h>

#include <cstring>

#include "platform/confd/provider.h"

using proto::DataCall;
using proto::DataKind;

namespace {

// What the callbacks under test do and see; set by each test.
int (*act)(confd_trans_ctx *tctx);
long seen_next;
int seen_keys;

int get_elem(confd_trans_ctx *tctx, confd_hkeypath_t *)
{
    return act(tctx);
}

int get_next(confd_trans_ctx *tctx, confd_hkeypath_t *, long next)
{
    seen_next = next;
    return act(tctx);
}

int find_next_object(confd_trans_ctx *tctx, confd_hkeypath_t *, int, confd_value_t *keys, int n)
{
    seen_keys = n == 1 ? keys[0].val.i32 : -1;
    return act(tctx);
}

confd_data_cbs make_callbacks(const char *name)
{
    confd_data_cbs cbs = {};
    std::snprintf(cbs.callpoint, sizeof cbs.callpoint, "%s", name);
    cbs.get_elem = get_elem;
    cbs.get_next = get_next;
    cbs.find_next_object = find_next_object;
    return cbs;
}

proto::DataReply ask(DataCall call, int (*callback)(confd_trans_ctx *), const char *callpoint = "point")
{
    confd::DaemonContext context = {};
    const confd_data_cbs cbs = make_callbacks("point");
    EXPECT_EQ(confd_register_data_cb(&context.handle, &cbs), CONFD_OK);
    act = callback;
    proto::CallData question;
    question.callpoint = callpoint;
    question.call = call;
    question.next = 41;
    question.keys = {proto::make_number(proto::ValueType::int32, 3)};
    proto::DataReply reply;
    EXPECT_TRUE(decode(confd::answer_call(&context, question), &reply));
    return reply;
}

int reply_number(confd_trans_ctx *tctx, std::uint32_t number)
{
    confd_value_t v = {};
    v.type = C_UINT32;
    v.val.u32 = number;
    return confd_data_reply_value(tctx, &v);
}

TEST(Reply, TheFirstStandsAndASecondIsRefused)
{
    const proto::DataReply reply = ask(DataCall::get_elem, [](confd_trans_ctx *tctx) {
        EXPECT_EQ(reply_number(tctx, 7), CONFD_OK);
        confd_errno = 0;
        EXPECT_EQ(reply_number(tctx, 8), CONFD_ERR);
        EXPECT_EQ(confd_errno, CONFD_ERR_USAGE);
        return confd_data_reply_not_found(tctx);
    });
    EXPECT_EQ(reply.kind, DataKind::value);
    EXPECT_EQ(reply.value.number, 7);
}

TEST(Reply, IsEncodedBeforeTheCallReturns)
{
    const proto::DataReply reply = ask(DataCall::get_elem, [](confd_trans_ctx *tctx) {
        char text[] = "good";
        confd_tag_value_t tv = {};
        tv.tag.tag = 5;
        tv.v.type = C_STR;
        tv.v.val.s = text;
        const int result = confd_data_reply_tag_value_array(tctx, &tv, 1);
        std::strcpy(text, "gone");
        return result;
    });
    ASSERT_EQ(reply.values.size(), 1U);
    EXPECT_EQ(reply.values[0].tag, 5U);
    EXPECT_EQ(reply.values[0].value.bytes, "good");
}

TEST(Reply, NoneIsAFailureThatSaysWhy)
{
    const proto::DataReply silent = ask(DataCall::get_elem, [](confd_trans_ctx *) { return CONFD_OK + 0; });
    EXPECT_EQ(silent.kind, DataKind::failed);
    EXPECT_FALSE(silent.text.empty());
    const proto::DataReply failed = ask(DataCall::get_elem, [](confd_trans_ctx *tctx) {
        confd_trans_seterr(tctx, "first");
        confd_trans_seterr(tctx, "unknown leaf %d", 5);
        return CONFD_ERR + 0;
    });
    EXPECT_EQ(failed.kind, DataKind::failed);
    EXPECT_EQ(failed.text, "unknown leaf 5");
}

TEST(Reply, AValueThatCannotBeSentIsNoReply)
{
    const proto::DataReply reply = ask(DataCall::get_elem, [](confd_trans_ctx *tctx) {
        confd_value_t v = {};
        v.type = C_STR; // null
        EXPECT_EQ(confd_data_reply_value(tctx, &v), CONFD_ERR);
        EXPECT_EQ(confd_errno, CONFD_ERR_BADTYPE);
        EXPECT_EQ(confd_data_reply_value(tctx, nullptr), CONFD_ERR);
        const std::string huge(proto::duration_fields * 200000, 'x'); // beyond a frame
        v.val.s = huge.c_str();
        EXPECT_EQ(confd_data_reply_value(tctx, &v), CONFD_ERR);
        return reply_number(tctx, 1);
    });
    EXPECT_EQ(reply.kind, DataKind::value) << "the callback may still answer";
}

TEST(Reply, WalksEndWhateverCallEndsThem)
{
    const proto::DataReply keys = ask(DataCall::get_next, [](confd_trans_ctx *tctx) {
        return confd_data_reply_next_object_array(tctx, nullptr, 0, -1);
    });
    EXPECT_EQ(keys.kind, DataKind::next_key);
    EXPECT_TRUE(keys.keys.empty());
    EXPECT_EQ(seen_next, 41);
    const proto::DataReply objects = ask(DataCall::find_next_object, [](confd_trans_ctx *tctx) {
        return confd_data_reply_next_object_array(tctx, nullptr, 0, -1);
    });
    EXPECT_EQ(objects.kind, DataKind::next_object);
    EXPECT_TRUE(objects.values.empty());
    EXPECT_EQ(seen_keys, 3);
}

TEST(Callbacks, MissingOnesAnswerWithoutBeingCalled)
{
    const auto never = [](confd_trans_ctx *) {
        ADD_FAILURE() << "called";
        return CONFD_ERR + 0;
    };
    EXPECT_EQ(ask(DataCall::get_object, never).kind, DataKind::failed);
    EXPECT_EQ(ask(DataCall::get_next_object, never).kind, DataKind::failed);
    EXPECT_EQ(ask(DataCall::get_elem, never, "other").kind, DataKind::failed);
}

TEST(Callbacks, ABadNameOrASecondOwnerIsRefused)
{
    confd::DaemonContext context = {};
    confd_data_cbs cbs = make_callbacks("");
    EXPECT_EQ(confd_register_data_cb(&context.handle, &cbs), CONFD_ERR);
    std::memset(cbs.callpoint, 'x', sizeof cbs.callpoint);
    EXPECT_EQ(confd_register_data_cb(&context.handle, &cbs), CONFD_ERR);
    cbs = make_callbacks("one");
    EXPECT_EQ(confd_register_data_cb(&context.handle, &cbs), CONFD_OK);
    EXPECT_EQ(confd_register_data_cb(&context.handle, &cbs), CONFD_ERR);
}

} // namespace
