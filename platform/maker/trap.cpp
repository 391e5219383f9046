#include <cstdarg>

#include "maker.h"
#include "platform/tollan/uplink.h"
#include "protocol/application.h"

namespace {

std::string text_or_empty(const char *text)
{
    return text ? text : "";
}

} // namespace

int kvr_trap_send(struct tollan_ctx *ctx, const char *trap, int, int bindings, ...)
{
    proto::Trap message;
    message.name = trap;
    va_list args;
    va_start(args, bindings);
    for (int i = 0; i < bindings; i++) {
        proto::Pair pair;
        pair.name = text_or_empty(va_arg(args, const char *));
        pair.value = text_or_empty(va_arg(args, const char *));
        message.bindings.push_back(pair);
    }
    va_end(args);
    return tollan::send_up(ctx, proto::Op::trap, encode(message)) ? 0 : -1;
}
