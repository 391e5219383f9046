#include <gtest/gtest.h>

#include <cstring>

#include "platform/confd/provider.h"
#include "protocol/frame.h"

using proto::DataCall;
using proto::DataKind;

namespace {

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
    std::memset(cbs.callpoint, 'x', sizeof cbs.callpoint);
    EXPECT_EQ(confd_register_data_cb(&context.handle, &cbs), CONFD_ERR) << "no end";
    act = callback;
    proto::CallData question;
    question.callpoint = callpoint;
    question.call = call;
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

} // namespace
