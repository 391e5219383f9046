// Replies of data providers, database reads and notifications.
#include <algorithm>
#include <cstdarg>
#include <cstdio>

#include "fakes/platform.h"
#include "platform/confd/convert.h"

using namespace fakes;
using std::to_string;

namespace {

std::string hex(std::uint32_t number)
{
    char text[16];
    snprintf(text, sizeof text, "0x%08x", number);
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

int read_stored(const std::string &path, confd_value_t *value)
{
    if (!outcomes.stored.contains(path)) return CONFD_ERR;
    *value = outcomes.stored[path];
    return CONFD_OK;
}

} // namespace

std::string fakes::shown(const confd_value_t &value)
{
    // clang-format off
    static const std::map<int, const char *> kinds = {
        {C_BINARY, "base64 "}, {C_INT32, "i32 "},  {C_UINT16, "u16 "},
        {C_UINT32, "u32 "},    {C_UINT64, "u64 "}, {C_ENUM_VALUE, "enum "},
    };
    // clang-format on
    const std::string tag = hex(value.val.xmltag.tag);
    if (value.type == C_XMLTAG) return "tag " + tag;
    if (value.type == C_XMLBEGIN) return "begin " + tag + " " + hex(value.val.xmltag.ns);
    if (value.type == C_XMLEND) return "end " + tag + " " + hex(value.val.xmltag.ns);
    proto::Value read;
    if (!confd::from_c(value, &read)) return "type " + to_string(value.type);
    if (value.type == C_STR || value.type == C_BUF) return "\"" + proto::to_text(read) + "\"";
    return (kinds.contains(value.type) ? kinds.at(value.type) : "") + proto::to_text(read);
}

confd_trans_ctx *fakes::transaction()
{
    static tollan_ctx module{};
    static confd_daemon_ctx daemon{&module};
    static confd_trans_ctx context{&daemon};
    module.ready = outcomes.ready;
    return &context;
}

confd_value_t fakes::tag(std::uint32_t hash)
{
    return {.type = C_XMLTAG, .val = {.xmltag = {hash, 0}}};
}

confd_tag_value_t fakes::pair(std::uint32_t tag, confd_vtype type, std::uint64_t number)
{
    const confd_value_t value = {.type = type, .val = {.u64 = number}};
    return {
        {tag, 0},
        value
    };
}

confd_hkeypath_t fakes::keypath(const Path &elements)
{
    confd_hkeypath_t path{};
    for (const auto &element : elements)
        std::ranges::copy(element, path.v[path.len++]);
    return path;
}

const char *confd_hash2str(uint32_t hash)
{
    static std::string name;
    return (name = hex(hash)).c_str();
}

int confd_pp_kpath(char *buf, int size, const confd_hkeypath_t * /*path*/)
{
    return snprintf(buf, static_cast<size_t>(size), "/path");
}

int confd_data_reply_value(confd_trans_ctx *, const confd_value_t *v)
{
    return record("reply " + shown(*v), outcomes.reply);
}

int confd_data_reply_not_found(confd_trans_ctx *)
{
    return record("reply not found", outcomes.reply);
}

int confd_data_reply_tag_value_array(confd_trans_ctx *, const confd_tag_value_t *tvs, int n)
{
    return record("reply array" + pairs(tvs, n), outcomes.reply);
}

int confd_data_reply_next_key(confd_trans_ctx *, const confd_value_t *v, int num_vals, long next)
{
    std::string text = v == nullptr ? " end" : "";
    for (int i = 0; v != nullptr && i < num_vals; i++)
        text += " " + shown(v[i]);
    return record("reply key" + text + " next " + to_string(next), outcomes.reply);
}

int confd_data_reply_next_object_tag_value_array(confd_trans_ctx *, const confd_tag_value_t *tvs, int n, long next)
{
    const std::string text = tvs == nullptr || n == 0 ? " end" : pairs(tvs, n);
    return record("reply next array" + text + " next " + to_string(next), outcomes.reply);
}

int confd_data_reply_next_object_array(confd_trans_ctx *, const confd_value_t *v, int n, long next)
{
    const std::string text = v == nullptr || n == 0 ? " end" : "";
    return record("reply next object" + text + " next " + to_string(next), outcomes.reply);
}

int tollan_event_send_notification(tollan_ctx * /*ctx*/, const confd_tag_value_t *values, int n)
{
    return record("notification" + pairs(values, n));
}

// The text that a function's `fmt` and what follows it make.
#define FORMAT(text)                                                                                                   \
    va_list arguments;                                                                                                 \
    va_start(arguments, fmt);                                                                                          \
    const std::string text = formatted(fmt, arguments);                                                                \
    va_end(arguments)

int cdb_cd(int /*sock*/, const char *fmt, ...)
{
    FORMAT(path);
    return record("cdb_cd " + path, outcomes.cdb_cd);
}

int cdb_set_namespace(int /*sock*/, uint32_t hashed_ns)
{
    return record("cdb_set_namespace " + hex(hashed_ns));
}

void confd_trans_seterr(confd_trans_ctx * /*tctx*/, const char *fmt, ...)
{
    FORMAT(text);
    record("refused: " + text);
}

int tollan_read_val(tollan_ctx * /*ctx*/, const char *path, confd_value_t *value)
{
    record(std::string("read: ") + path);
    return read_stored(path, value);
}

#define COUNT(call)                                                                                                    \
    int call(int /*sock*/, const char *fmt, ...)                                                                       \
    {                                                                                                                  \
        FORMAT(path);                                                                                                  \
        return record(#call " " + path, outcomes.instances[path]);                                                     \
    }
COUNT(cdb_exists)
COUNT(cdb_num_instances)

#define GET(call, target, part)                                                                                        \
    int call(int /*sock*/, target rval, const char *fmt, ...)                                                          \
    {                                                                                                                  \
        FORMAT(path);                                                                                                  \
        record("cdb: " + path);                                                                                        \
        confd_value_t value;                                                                                           \
        const int result = read_stored(path, &value);                                                                  \
        if (result == CONFD_OK) *rval = value.val.part;                                                                \
        return result;                                                                                                 \
    }
GET(cdb_get_ipv4, in_addr *, ip)
GET(cdb_get_ipv4prefix, confd_ipv4_prefix *, ipv4prefix)
GET(cdb_get_u_int16, uint16_t *, u16)
GET(cdb_get_enum_value, int32_t *, enumvalue)

int cdb_get_case(int /*sock*/, const char *choice, confd_value_t *rcase, const char *fmt, ...)
{
    FORMAT(parent);
    const std::string path = parent + "/" + choice;
    record("cdb_get_case " + path);
    return read_stored(path, rcase);
}

int cdb_set_elem(int /*sock*/, const confd_value_t *val, const char *fmt, ...)
{
    FORMAT(path);
    return record("cdb_set_elem " + path + " " + shown(*val), outcomes.cdb_set_elem);
}
