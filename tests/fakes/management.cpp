// Replies of data providers, database reads and notifications.
#include <arpa/inet.h>
#include <cstdarg>
#include <cstdio>

#include "fakes/platform.h"
#include "fakes/record.h"

using fakes::outcomes;
using fakes::record;
using fakes::shown;
using std::to_string;

namespace {

std::string hex(std::uint32_t number)
{
    char text[16];
    snprintf(text, sizeof text, "0x%08x", number);
    return text;
}

std::string bytes(const confd_value_t &value)
{
    std::string text = "x'";
    char byte[3];
    for (std::uint32_t i = 0; i < value.val.buf.size; i++) {
        snprintf(byte, sizeof byte, "%02x", value.val.buf.ptr[i]);
        text += byte;
    }
    return text + "'";
}

std::string address(int family, const void *where)
{
    char text[INET6_ADDRSTRLEN];
    return inet_ntop(family, where, text, sizeof text);
}

std::string duration(const confd_duration &d)
{
    std::string text = "duration";
    for (const std::uint32_t part : {d.years, d.months, d.days, d.hours, d.mins, d.secs, d.micros})
        text += " " + to_string(part);
    return text;
}

std::string pairs(const confd_tag_value_t *tvs, int n)
{
    std::string text;
    for (int i = 0; i < n; i++) {
        text += " " + hex(tvs[i].tag.tag) + "=" + shown(tvs[i].v);
        if (tvs[i].tag.ns != 0) text += " (ns " + hex(tvs[i].tag.ns) + ")";
    }
    return text;
}

std::string formatted(const char *format, va_list arguments)
{
    char text[512];
    vsnprintf(text, sizeof text, format, arguments);
    return text;
}

// What is stored at the path, recorded as read.
const confd_value_t *stored(const char *format, va_list arguments)
{
    const std::string path = formatted(format, arguments);
    record("cdb: " + path);
    const auto found = outcomes.stored.find(path);
    return found == outcomes.stored.end() ? nullptr : &found->second;
}

} // namespace

std::string fakes::shown(const confd_value_t &value)
{
    switch (value.type) {
    case C_STR:
        return "\"" + std::string(value.val.s) + "\"";
    case C_BUF:
        return "\"" + std::string(reinterpret_cast<char *>(value.val.buf.ptr), value.val.buf.size) + "\"";
    case C_BINARY:
        return bytes(value);
    case C_INT32:
        return "i32 " + to_string(value.val.i32);
    case C_UINT16:
        return "u16 " + to_string(value.val.u16);
    case C_UINT32:
        return "u32 " + to_string(value.val.u32);
    case C_UINT64:
        return "u64 " + to_string(value.val.u64);
    case C_ENUM_VALUE:
        return "enum " + to_string(value.val.enumvalue);
    case C_BOOL:
        return value.val.boolean != 0 ? "true" : "false";
    case C_IPV4:
        return address(AF_INET, &value.val.ip);
    case C_IPV6:
        return address(AF_INET6, &value.val.ip6);
    case C_IPV4PREFIX:
        return address(AF_INET, &value.val.ipv4prefix.ip) + "/" + to_string(value.val.ipv4prefix.len);
    case C_DURATION:
        return duration(value.val.duration);
    case C_XMLTAG:
        return "tag " + hex(value.val.xmltag.tag);
    case C_XMLBEGIN:
        return "begin " + hex(value.val.xmltag.tag) + " " + hex(value.val.xmltag.ns);
    case C_XMLEND:
        return "end " + hex(value.val.xmltag.tag) + " " + hex(value.val.xmltag.ns);
    default:
        return "type " + to_string(value.type); // not one that replies use
    }
}

confd_trans_ctx *fakes::transaction(bool ready)
{
    static tollan_ctx module{};
    static confd_daemon_ctx daemon{&module};
    static confd_trans_ctx context{&daemon};
    module.ready = ready ? 1 : 0;
    return &context;
}

confd_value_t fakes::tag(std::uint32_t hash)
{
    confd_value_t value{};
    value.type = C_XMLTAG;
    value.val.xmltag.tag = hash;
    return value;
}

confd_hkeypath_t fakes::keypath(const std::vector<std::vector<confd_value_t>> &elements)
{
    confd_hkeypath_t path{};
    for (const auto &element : elements) {
        for (std::size_t i = 0; i < element.size(); i++)
            path.v[path.len][i] = element[i];
        path.len++;
    }
    return path;
}

const char *confd_hash2str(uint32_t hash)
{
    static char name[16];
    snprintf(name, sizeof name, "%s", hex(hash).c_str());
    return name;
}

int confd_pp_kpath(char *buf, int size, const confd_hkeypath_t * /*path*/)
{
    return snprintf(buf, static_cast<size_t>(size), "/path");
}

int confd_data_reply_value(confd_trans_ctx *, const confd_value_t *v)
{
    record("reply " + shown(*v));
    return outcomes.reply;
}

int confd_data_reply_not_found(confd_trans_ctx *)
{
    record("reply not found");
    return outcomes.reply;
}

int confd_data_reply_tag_value_array(confd_trans_ctx *, const confd_tag_value_t *tvs, int n)
{
    record("reply array" + pairs(tvs, n));
    return outcomes.reply;
}

int confd_data_reply_next_key(confd_trans_ctx *, const confd_value_t *v, int num_vals, long next)
{
    std::string text = v == nullptr ? " end" : "";
    for (int i = 0; v != nullptr && i < num_vals; i++)
        text += " " + shown(v[i]);
    record("reply key" + text + " next " + to_string(next));
    return outcomes.reply;
}

int confd_data_reply_next_object_tag_value_array(confd_trans_ctx *, const confd_tag_value_t *tvs, int n, long next)
{
    record("reply next array" + (tvs == nullptr || n == 0 ? " end" : pairs(tvs, n)) + " next " + to_string(next));
    return outcomes.reply;
}

int confd_data_reply_next_object_array(confd_trans_ctx *, const confd_value_t *v, int n, long next)
{
    record(std::string("reply next object") + (v == nullptr || n == 0 ? " end" : "") + " next " + to_string(next));
    return outcomes.reply;
}

int tollan_event_send_notification(tollan_ctx * /*ctx*/, const confd_tag_value_t *values, int n)
{
    record("notification" + pairs(values, n));
    return 0;
}

int cdb_cd(int /*sock*/, const char *fmt, ...)
{
    va_list arguments;
    va_start(arguments, fmt);
    record("cdb_cd " + formatted(fmt, arguments));
    va_end(arguments);
    return outcomes.cdb_cd;
}

int cdb_set_namespace(int /*sock*/, uint32_t hashed_ns)
{
    record("cdb_set_namespace " + hex(hashed_ns));
    return CONFD_OK;
}

static int instances(const char *call, const char *fmt, va_list arguments)
{
    const std::string path = formatted(fmt, arguments);
    record(call + path);
    const auto found = outcomes.instances.find(path);
    return found == outcomes.instances.end() ? 0 : found->second;
}

int cdb_exists(int /*sock*/, const char *fmt, ...)
{
    va_list arguments;
    va_start(arguments, fmt);
    const int result = instances("cdb_exists ", fmt, arguments);
    va_end(arguments);
    return result;
}

int cdb_num_instances(int /*sock*/, const char *fmt, ...)
{
    va_list arguments;
    va_start(arguments, fmt);
    const int result = instances("cdb_num_instances ", fmt, arguments);
    va_end(arguments);
    return result;
}

int cdb_get_ipv4(int /*sock*/, in_addr *rval, const char *fmt, ...)
{
    va_list arguments;
    va_start(arguments, fmt);
    const confd_value_t *value = stored(fmt, arguments);
    va_end(arguments);
    if (value == nullptr) return CONFD_ERR;
    *rval = value->val.ip;
    return CONFD_OK;
}

int cdb_get_ipv4prefix(int /*sock*/, confd_ipv4_prefix *rval, const char *fmt, ...)
{
    va_list arguments;
    va_start(arguments, fmt);
    const confd_value_t *value = stored(fmt, arguments);
    va_end(arguments);
    if (value == nullptr) return CONFD_ERR;
    *rval = value->val.ipv4prefix;
    return CONFD_OK;
}

int cdb_get_u_int16(int /*sock*/, uint16_t *rval, const char *fmt, ...)
{
    va_list arguments;
    va_start(arguments, fmt);
    const confd_value_t *value = stored(fmt, arguments);
    va_end(arguments);
    if (value == nullptr) return CONFD_ERR;
    *rval = value->val.u16;
    return CONFD_OK;
}

int cdb_get_enum_value(int /*sock*/, int32_t *rval, const char *fmt, ...)
{
    va_list arguments;
    va_start(arguments, fmt);
    const confd_value_t *value = stored(fmt, arguments);
    va_end(arguments);
    if (value == nullptr) return CONFD_ERR;
    *rval = value->val.enumvalue;
    return CONFD_OK;
}

int cdb_get_case(int /*sock*/, const char *choice, confd_value_t *rcase, const char *fmt, ...)
{
    va_list arguments;
    va_start(arguments, fmt);
    const std::string path = formatted(fmt, arguments) + "/" + choice;
    va_end(arguments);
    record("cdb_get_case " + path);
    const auto found = outcomes.stored.find(path);
    if (found == outcomes.stored.end()) return CONFD_ERR;
    *rcase = found->second;
    return CONFD_OK;
}

int cdb_set_elem(int /*sock*/, const confd_value_t *val, const char *fmt, ...)
{
    va_list arguments;
    va_start(arguments, fmt);
    record("cdb_set_elem " + formatted(fmt, arguments) + " " + shown(*val));
    va_end(arguments);
    return outcomes.cdb_set_elem;
}
