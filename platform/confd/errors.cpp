#include "platform/confd/errors.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "confd.h"
#include "protocol/hello.h"

__thread int confd_errno = 0;

namespace {

constexpr int text_size = 512;
__thread char last_text[text_size];

struct CodeRow {
    proto::ErrorCode answer;
    int code;
};

// What is missing here is CONFD_ERR_REFUSED.
constexpr CodeRow codes[] = {
    {proto::ErrorCode::malformed,  CONFD_ERR_PROTOCOL },
    {proto::ErrorCode::unknown_op, CONFD_ERR_PROTOCOL },
    {proto::ErrorCode::too_big,    CONFD_ERR_PROTOCOL },
    {proto::ErrorCode::not_exists, CONFD_ERR_NOEXISTS },
    {proto::ErrorCode::bad_path,   CONFD_ERR_BADPATH  },
    {proto::ErrorCode::bad_value,  CONFD_ERR_BADTYPE  },
    {proto::ErrorCode::no_session, CONFD_ERR_NOSESSION},
};

int code_of(proto::ErrorCode answer)
{
    for (const CodeRow &row : codes) {
        if (row.answer == answer) return row.code;
    }
    return CONFD_ERR_REFUSED;
}

} // namespace

namespace confd {

int fail(int code, const char *fmt, ...)
{
    confd_errno = code;
    va_list args;
    va_start(args, fmt);
    std::vsnprintf(last_text, sizeof last_text, fmt, args);
    va_end(args);
    return CONFD_ERR;
}

int fail_errno(const char *what)
{
    const int cause = errno;
    char text[128];
    return fail(CONFD_ERR_OS, "%s: %s", what, strerror_r(cause, text, sizeof text));
}

int fail_answer(std::string_view payload)
{
    proto::Error error;
    if (!decode(payload, &error)) return fail(CONFD_ERR_PROTOCOL, "the agent's error cannot be read");
    if (error.path.empty()) return fail(code_of(error.code), "%s", error.text.c_str());
    return fail(code_of(error.code), "%s: %s", error.path.c_str(), error.text.c_str());
}

} // namespace confd

const char *confd_strerror(int code)
{
    switch (code) {
    case CONFD_OK:
        return "no error";
    case CONFD_ERR_NOEXISTS:
        return "item does not exist";
    case CONFD_ERR_BADPATH:
        return "bad path";
    case CONFD_ERR_BADTYPE:
        return "bad value type";
    case CONFD_ERR_OS:
        return "connection failed";
    case CONFD_ERR_PROTOCOL:
        return "protocol error";
    case CONFD_ERR_NOSESSION:
        return "no session";
    case CONFD_ERR_USAGE:
        return "wrong use of the interface";
    case CONFD_ERR_REFUSED:
        return "refused by the agent";
    default:
        return "unknown error";
    }
}

const char *confd_lasterr(void)
{
    return last_text;
}
