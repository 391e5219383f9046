#include <gtest/gtest.h>

#include <cstring>

#include "platform/confd/provider.h"
#include "protocol/frame.h"

using proto::DataCall;
using proto::DataKind;

namespace {

using Act = int (*)(confd_trans_ctx *tctx);
Act act; // what the callback under test does
long seen_next;

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
    EXPECT_TRUE(n == 1 && keys[0].val.i32 == 3);
    return act(tctx);
}

proto::DataReply ask(DataCall call, Act callback, const char *callpoint = "point")
{
    confd::DaemonContext context = {};
    confd_data_cbs cbs = {};
    std::memcpy(cbs.callpoint, "point", sizeof "point");
    cbs.get_elem = get_elem;
    cbs.get_next = get_next;
    cbs.find_next_object = find_next_object;
    EXPECT_EQ(confd_register_data_cb(&context.handle, &cbs), CONFD_OK);
    EXPECT_EQ(confd_register_data_cb(&context.handle, &cbs), CONFD_ERR) << "a second owner";
    std::memset(cbs.callpoint, 'x', sizeof cbs.callpoint);
    EXPECT_EQ(confd_register_data_cb(&context.handle, &cbs), CONFD_ERR) << "no end";
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

TEST(Reply, NoneIsAFailureThatSaysWhy)
{
    const proto::DataReply silent = ask(DataCall::get_elem, [](confd_trans_ctx *) -> int { return CONFD_OK; });
    EXPECT_EQ(silent.kind, DataKind::failed);
    EXPECT_FALSE(silent.text.empty());
    const proto::DataReply failed = ask(DataCall::get_elem, [](confd_trans_ctx *tctx) -> int {
        confd_trans_seterr(tctx, "first");
        confd_trans_seterr(tctx, "unknown leaf %d", 5);
        return CONFD_ERR;
    });
    EXPECT_EQ(failed.kind, DataKind::failed);
    EXPECT_EQ(failed.text, "unknown leaf 5");
}

TEST(Reply, WalksEndWhateverCallEndsThem)
{
    const Act end = [](confd_trans_ctx *tctx) { return confd_data_reply_next_object_array(tctx, nullptr, 0, -1); };
    const proto::DataReply keys = ask(DataCall::get_next, end);
    EXPECT_TRUE(keys.kind == DataKind::next_key && keys.keys.empty());
    EXPECT_EQ(seen_next, 41);
    const proto::DataReply objects = ask(DataCall::find_next_object, end);
    EXPECT_TRUE(objects.kind == DataKind::next_object && objects.values.empty());
}

TEST(Callbacks, MissingOnesAnswerWithoutBeingCalled)
{
    const Act never = [](confd_trans_ctx *) -> int {
        ADD_FAILURE() << "called";
        return CONFD_ERR;
    };
    EXPECT_EQ(ask(DataCall::get_object, never).kind, DataKind::failed);
    EXPECT_EQ(ask(DataCall::get_next_object, never).kind, DataKind::failed);
    EXPECT_EQ(ask(DataCall::get_elem, never, "other").kind, DataKind::failed);
}

} // namespace
