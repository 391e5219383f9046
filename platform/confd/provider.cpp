#include "platform/confd/provider.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <utility>

#include "platform/confd/convert.h"
#include "platform/confd/errors.h"
#include "protocol/frame.h"

using proto::DataCall;
using proto::DataKind;
using proto::DataReply;

namespace confd {

namespace {

// The agent asks a find for the entry after the keys only.
constexpr int find_next = 0;

Transaction *transaction_of(confd_trans_ctx *handle)
{
    return reinterpret_cast<Transaction *>(handle);
}

int keep_reply(confd_trans_ctx *handle, DataReply reply)
{
    Transaction *transaction = transaction_of(handle);
    if (transaction->replied) return fail(CONFD_ERR_USAGE, "this call was answered already");
    transaction->bytes = encode(reply).size();
    if (transaction->bytes > max_answer) {
        return fail(CONFD_ERR_USAGE, "an answer of %zu bytes is too long", transaction->bytes);
    }
    transaction->reply = std::move(reply);
    transaction->replied = true;
    return CONFD_OK;
}

int bad_value()
{
    return fail(CONFD_ERR_BADTYPE, "the answer holds a value that cannot be sent");
}

int reply_object(confd_trans_ctx *tctx, DataKind kind, const confd_tag_value_t *tvs, int n, long next)
{
    DataReply reply;
    reply.kind = kind;
    reply.next = next;
    return from_c(tvs, n, &reply.values) ? keep_reply(tctx, std::move(reply)) : bad_value();
}

const confd_data_cbs *find_callbacks(const DaemonContext &context, const std::string &name)
{
    for (const confd_data_cbs &cbs : context.callbacks) {
        if (name == cbs.callpoint) return &cbs;
    }
    return nullptr;
}

// False when there is no such callback.
bool run_callback(const confd_data_cbs &cbs, const proto::CallData &call, confd_trans_ctx *tctx, Arena *arena,
                  confd_hkeypath_t *path)
{
    const auto next = static_cast<long>(call.next);
    switch (call.call) {
    case DataCall::get_elem:
        if (cbs.get_elem) cbs.get_elem(tctx, path);
        return cbs.get_elem;
    case DataCall::get_next:
        if (cbs.get_next) cbs.get_next(tctx, path, next);
        return cbs.get_next;
    case DataCall::get_object:
        if (cbs.get_object) cbs.get_object(tctx, path);
        return cbs.get_object;
    case DataCall::get_next_object:
        if (cbs.get_next_object) cbs.get_next_object(tctx, path, next);
        return cbs.get_next_object;
    case DataCall::find_next_object: {
        std::vector<confd_value_t> keys = to_c(call.keys, arena);
        const int n = static_cast<int>(keys.size());
        if (cbs.find_next_object) cbs.find_next_object(tctx, path, find_next, keys.data(), n);
        return cbs.find_next_object;
    }
    }
    return false;
}

DataReply failure(const std::string &text)
{
    DataReply reply;
    reply.kind = DataKind::failed;
    reply.text = text;
    return reply;
}

DataReply call_once(DaemonContext *context, const confd_data_cbs &cbs, const proto::CallData &call, std::size_t *bytes)
{
    Arena arena;
    confd_hkeypath_t path;
    if (!to_c(call.path, &arena, &path)) return failure("the path is too deep");
    Transaction transaction;
    transaction.handle.dx = &context->handle;
    transaction.call = call.call;
    if (!run_callback(cbs, call, &transaction.handle, &arena, &path)) {
        return failure("callpoint " + call.callpoint + " does not serve this call");
    }
    if (!transaction.replied) {
        transaction.reply = failure(transaction.text.empty() ? "the provider did not answer" : transaction.text);
        transaction.bytes = encode(transaction.reply).size();
    }
    *bytes += transaction.bytes;
    return std::move(transaction.reply);
}

// The call for the entry with these keys of the list that is walked.
proto::CallData object_call(const proto::CallData &walk, const std::vector<proto::Value> &keys)
{
    proto::CallData call = {walk.callpoint, DataCall::get_object, walk.path, -1, {}, 1, false};
    proto::PathElement entry;
    entry.is_keys = true;
    entry.keys = keys;
    call.path.insert(call.path.begin(), std::move(entry));
    return call;
}

bool is_row(const DataReply &reply)
{
    return reply.kind == DataKind::next_key ? !reply.keys.empty()
                                            : reply.kind == DataKind::next_object && !reply.values.empty();
}

// A walk pauses between rows, so what a row adds still has to fit.
static_assert(walk_bytes + 2 * max_answer + 1024 <= proto::max_frame);

} // namespace

proto::DataReplies answer_call(DaemonContext *context, const proto::CallData &call)
{
    const confd_data_cbs *cbs = find_callbacks(*context, call.callpoint);
    if (!cbs) return {{failure("callpoint " + call.callpoint + " is not served here")}};
    const auto pause = std::chrono::steady_clock::now() + walk_turn;
    proto::DataReplies replies;
    proto::CallData step = call;
    std::size_t bytes = 0;
    for (unsigned row = 1;; row++) {
        DataReply reply = call_once(context, *cbs, step, &bytes);
        step.next = is_row(reply) ? reply.next : -1;
        const bool wants_object = call.objects && is_row(reply);
        replies.list.push_back(std::move(reply));
        if (wants_object) {
            const proto::CallData object = object_call(step, replies.list.back().keys);
            replies.list.push_back(call_once(context, *cbs, object, &bytes));
        }
        const bool walks = call.call == DataCall::get_next || call.call == DataCall::get_next_object;
        const bool is_last = !walks || step.next < 0 || row >= call.rows;
        if (is_last || bytes > walk_bytes || std::chrono::steady_clock::now() > pause) return replies;
    }
}

} // namespace confd

int confd_register_data_cb(struct confd_daemon_ctx *dx, const struct confd_data_cbs *cbs)
{
    const std::size_t length = strnlen(cbs->callpoint, sizeof cbs->callpoint);
    if (length == 0 || length == sizeof cbs->callpoint) {
        return confd::fail(CONFD_ERR_USAGE, "the callpoint's name is empty or not terminated");
    }
    auto *context = reinterpret_cast<confd::DaemonContext *>(dx);
    if (confd::find_callbacks(*context, cbs->callpoint)) {
        return confd::fail(CONFD_ERR_USAGE, "callpoint %s is registered already", cbs->callpoint);
    }
    context->callbacks.push_back(*cbs);
    return CONFD_OK;
}

void confd_trans_seterr(struct confd_trans_ctx *tctx, const char *fmt, ...)
{
    char text[1024];
    va_list args;
    va_start(args, fmt);
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): it is; the checker loses sight of it after the array.
    std::vsnprintf(text, sizeof text, fmt, args);
    va_end(args);
    confd::transaction_of(tctx)->text = text;
}

int confd_data_reply_value(struct confd_trans_ctx *tctx, const confd_value_t *v)
{
    DataReply reply;
    reply.kind = DataKind::value;
    return v && confd::from_c(*v, &reply.value) ? confd::keep_reply(tctx, std::move(reply)) : confd::bad_value();
}

int confd_data_reply_not_found(struct confd_trans_ctx *tctx)
{
    return confd::keep_reply(tctx, {});
}

int confd_data_reply_tag_value_array(struct confd_trans_ctx *tctx, const confd_tag_value_t *tvs, int n)
{
    return confd::reply_object(tctx, DataKind::object, tvs, n, -1);
}

int confd_data_reply_next_key(struct confd_trans_ctx *tctx, const confd_value_t *v, int num_vals, long next)
{
    DataReply reply;
    reply.kind = DataKind::next_key;
    reply.next = next;
    return confd::from_c(v, v ? num_vals : 0, &reply.keys) ? confd::keep_reply(tctx, std::move(reply))
                                                           : confd::bad_value();
}

int confd_data_reply_next_object_tag_value_array(struct confd_trans_ctx *tctx, const confd_tag_value_t *tvs, int n,
                                                 long next)
{
    return confd::reply_object(tctx, DataKind::next_object, tvs, tvs ? n : 0, next);
}

int confd_data_reply_next_object_array(struct confd_trans_ctx *tctx, const confd_value_t *, int n, long next)
{
    if (n != 0) return confd::fail(CONFD_ERR_USAGE, "objects are answered as tag-value arrays");
    // Providers end a walk of keys with it too.
    if (confd::transaction_of(tctx)->call == DataCall::get_next) {
        return confd_data_reply_next_key(tctx, nullptr, 0, next);
    }
    return confd::reply_object(tctx, DataKind::next_object, nullptr, 0, next);
}
