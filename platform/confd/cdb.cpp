#include <unistd.h>

#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "confd.h"
#include "platform/confd/convert.h"
#include "platform/confd/errors.h"
#include "platform/confd/peers.h"
#include "platform/confd/session.h"
#include "protocol/data.h"

using proto::Op;
using proto::ValueType;

namespace {

// Of one call. Longer than the agent takes for anything that it answers by itself.
constexpr int call_seconds = 10;
constexpr std::size_t path_size = 1024;

__attribute__((format(printf, 2, 0))) int format_path(std::string *path, const char *fmt, va_list args)
{
    char text[path_size];
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): it is; the checker loses sight of it after the array.
    const int length = std::vsnprintf(text, sizeof text, fmt, args);
    if (length < 0 || static_cast<std::size_t>(length) >= sizeof text) {
        return confd::fail(CONFD_ERR_BADPATH, "a path of %d characters is too long", length);
    }
    *path = text;
    return CONFD_OK;
}

template <typename Record> int call(int sock, Op op, const Record &record, std::string *answer)
{
    return confd::request(sock, op, encode(record), confd::in_seconds(call_seconds), answer);
}

__attribute__((format(printf, 4, 0))) int get_typed(int sock, ValueType type, proto::Value *value, const char *fmt,
                                                    va_list args)
{
    std::string path;
    if (format_path(&path, fmt, args) != CONFD_OK) return CONFD_ERR;
    if (confd::get_value(sock, path, confd::in_seconds(call_seconds), value) != CONFD_OK) return CONFD_ERR;
    if (value->type == type) return CONFD_OK;
    return confd::fail(CONFD_ERR_BADTYPE, "%s has a value of type %d", path.c_str(), static_cast<int>(value->type));
}

__attribute__((format(printf, 3, 0))) int get_count(int sock, Op op, const char *fmt, va_list args)
{
    proto::CdbPath question;
    proto::CdbCount reply;
    std::string answer;
    if (format_path(&question.path, fmt, args) != CONFD_OK) return CONFD_ERR;
    if (call(sock, op, question, &answer) != CONFD_OK) return CONFD_ERR;
    if (decode(answer, &reply) && reply.count >= 0) return reply.count;
    return confd::fail(CONFD_ERR_PROTOCOL, "the count of %s cannot be read", question.path.c_str());
}

} // namespace

int cdb_connect(int sock, enum cdb_sock_type, const struct sockaddr *srv, int srv_sz)
{
    return confd::connect_data(sock, srv, static_cast<socklen_t>(srv_sz), confd::in_seconds(call_seconds));
}

int cdb_start_session(int sock, enum cdb_db_type db)
{
    return cdb_start_session2(sock, db, 0);
}

int cdb_start_session2(int sock, enum cdb_db_type db, int flags)
{
    return confd::start_session(sock, db, static_cast<std::uint32_t>(flags), confd::in_seconds(call_seconds));
}

int cdb_end_session(int sock)
{
    std::string answer;
    return confd::request(sock, Op::cdb_end, {}, confd::in_seconds(call_seconds), &answer);
}

int cdb_close(int sock)
{
    confd::forget_peer(sock);
    return close(sock) == 0 ? CONFD_OK : confd::fail_errno("close");
}

int cdb_set_namespace(int sock, uint32_t hashed_ns)
{
    std::string answer;
    proto::CdbNamespace question;
    question.ns = hashed_ns;
    return call(sock, Op::cdb_namespace, question, &answer);
}

int cdb_cd(int sock, const char *fmt, ...)
{
    std::string answer;
    proto::CdbPath question;
    va_list args;
    va_start(args, fmt);
    const int formatted = format_path(&question.path, fmt, args);
    va_end(args);
    return formatted == CONFD_OK ? call(sock, Op::cdb_cd, question, &answer) : CONFD_ERR;
}

int cdb_exists(int sock, const char *fmt, ...)
{
    va_list args;
    va_start(args, fmt);
    const int count = get_count(sock, Op::cdb_exists, fmt, args);
    va_end(args);
    return count > 0 ? 1 : count;
}

int cdb_num_instances(int sock, const char *fmt, ...)
{
    va_list args;
    va_start(args, fmt);
    const int count = get_count(sock, Op::cdb_count, fmt, args);
    va_end(args);
    return count;
}

int cdb_get_ipv4(int sock, struct in_addr *rval, const char *fmt, ...)
{
    proto::Value value;
    va_list args;
    va_start(args, fmt);
    const int result = get_typed(sock, ValueType::ipv4, &value, fmt, args);
    va_end(args);
    if (result == CONFD_OK) std::memcpy(rval, value.address.data(), sizeof *rval);
    return result;
}

int cdb_get_ipv4prefix(int sock, struct confd_ipv4_prefix *rval, const char *fmt, ...)
{
    proto::Value value;
    va_list args;
    va_start(args, fmt);
    const int result = get_typed(sock, ValueType::ipv4prefix, &value, fmt, args);
    va_end(args);
    if (result != CONFD_OK) return result;
    std::memcpy(&rval->ip, value.address.data(), sizeof rval->ip);
    rval->len = static_cast<std::uint8_t>(value.number);
    return result;
}

int cdb_get_u_int16(int sock, uint16_t *rval, const char *fmt, ...)
{
    proto::Value value;
    va_list args;
    va_start(args, fmt);
    const int result = get_typed(sock, ValueType::uint16, &value, fmt, args);
    va_end(args);
    if (result == CONFD_OK) *rval = static_cast<std::uint16_t>(value.number);
    return result;
}

int cdb_get_enum_value(int sock, int32_t *rval, const char *fmt, ...)
{
    proto::Value value;
    va_list args;
    va_start(args, fmt);
    const int result = get_typed(sock, ValueType::enum_value, &value, fmt, args);
    va_end(args);
    if (result == CONFD_OK) *rval = static_cast<std::int32_t>(value.number);
    return result;
}

int cdb_get_case(int sock, const char *choice, confd_value_t *rcase, const char *fmt, ...)
{
    proto::CdbCase question;
    proto::CdbValue reply;
    std::string answer;
    question.choice = choice;
    va_list args;
    va_start(args, fmt);
    const int formatted = format_path(&question.path, fmt, args);
    va_end(args);
    if (formatted != CONFD_OK || call(sock, Op::cdb_case, question, &answer) != CONFD_OK) return CONFD_ERR;
    if (!decode(answer, &reply) || reply.value.type != ValueType::xmltag) {
        return confd::fail(CONFD_ERR_PROTOCOL, "the case of %s cannot be read", choice);
    }
    confd::Arena nothing; // a tag points nowhere
    *rcase = confd::to_c(reply.value, &nothing);
    return CONFD_OK;
}

int cdb_set_elem(int sock, const confd_value_t *val, const char *fmt, ...)
{
    proto::CdbSet question;
    std::string answer;
    va_list args;
    va_start(args, fmt);
    const int formatted = format_path(&question.path, fmt, args);
    va_end(args);
    if (formatted != CONFD_OK) return CONFD_ERR;
    if (!confd::from_c(*val, &question.value)) {
        return confd::fail(CONFD_ERR_BADTYPE, "the value for %s cannot be sent", question.path.c_str());
    }
    return call(sock, Op::cdb_set, question, &answer);
}
