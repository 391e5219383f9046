#include "platform/confd/convert.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <limits>

using proto::ValueType;

static_assert(sizeof(confd_value_t) == 40 && sizeof(confd_tag_value_t) == 48);
static_assert(offsetof(confd_value_t, val) == 8 && offsetof(confd_tag_value_t, v) == 8);
static_assert(sizeof(confd_valpoint_cb) == 272 && sizeof(confd_action_cbs) == 304 && sizeof(confd_data_cbs) == 408);
static_assert(sizeof(confd_duration) == proto::duration_fields * sizeof(std::uint32_t));

namespace confd {

namespace {

constexpr int ipv4_bits = 32;

void set_number(std::int64_t number, confd_value_t *out)
{
    switch (out->type) {
    case C_INT8:
        out->val.i8 = static_cast<std::int8_t>(number);
        break;
    case C_INT16:
        out->val.i16 = static_cast<std::int16_t>(number);
        break;
    case C_INT32:
        out->val.i32 = static_cast<std::int32_t>(number);
        break;
    case C_UINT8:
        out->val.u8 = static_cast<std::uint8_t>(number);
        break;
    case C_UINT16:
        out->val.u16 = static_cast<std::uint16_t>(number);
        break;
    case C_UINT32:
        out->val.u32 = static_cast<std::uint32_t>(number);
        break;
    case C_BOOL:
        out->val.boolean = number != 0;
        break;
    case C_ENUM_VALUE:
        out->val.enumvalue = static_cast<std::int32_t>(number);
        break;
    default: // the 64-bit types
        out->val.i64 = number;
        break;
    }
}

std::int64_t number_of(const confd_value_t &v)
{
    switch (v.type) {
    case C_INT8:
        return v.val.i8;
    case C_INT16:
        return v.val.i16;
    case C_INT32:
        return v.val.i32;
    case C_UINT8:
        return v.val.u8;
    case C_UINT16:
        return v.val.u16;
    case C_UINT32:
        return v.val.u32;
    case C_BOOL:
        return v.val.boolean != 0;
    case C_ENUM_VALUE:
        return v.val.enumvalue;
    default: // the 64-bit types
        return v.val.i64;
    }
}

void set_text(const proto::Value &value, Arena *arena, confd_value_t *out)
{
    std::string &text = arena->texts.emplace_back(value.bytes);
    if (out->type == C_STR) out->type = C_BUF; // a provider's own C_STR, come back as a key
    out->val.buf.ptr = reinterpret_cast<unsigned char *>(text.data());
    out->val.buf.size = static_cast<std::uint32_t>(text.size());
}

void set_list(const proto::Value &value, Arena *arena, confd_value_t *out)
{
    std::vector<confd_value_t> &items = arena->lists.emplace_back(to_c(value.list, arena));
    out->val.list.ptr = items.data();
    out->val.list.size = static_cast<std::uint32_t>(items.size());
}

bool take_bytes(const void *bytes, std::size_t size, proto::Value *out)
{
    if (!bytes && size > 0) return false;
    if (size > 0) out->bytes.assign(static_cast<const char *>(bytes), size);
    return true;
}

bool take_prefix(const confd_ipv4_prefix &prefix, proto::Value *out)
{
    std::memcpy(out->address.data(), &prefix.ip, sizeof prefix.ip);
    out->number = prefix.len;
    return prefix.len <= ipv4_bits;
}

bool take_list(const confd_list &list, proto::Value *out)
{
    if (list.size > std::numeric_limits<std::uint16_t>::max() || (list.size > 0 && !list.ptr)) return false;
    const auto is_list = [](const confd_value_t &item) { return item.type == C_LIST; };
    if (std::any_of(list.ptr, list.ptr + list.size, is_list)) return false;
    return from_c(list.ptr, static_cast<int>(list.size), &out->list);
}

} // namespace

confd_value_t to_c(const proto::Value &value, Arena *arena)
{
    confd_value_t out;
    std::memset(&out, 0, sizeof out);
    out.type = static_cast<confd_vtype>(value.type);
    switch (value.type) {
    case ValueType::noexists:
        break;
    case ValueType::str:
    case ValueType::buf:
    case ValueType::binary:
        set_text(value, arena, &out);
        break;
    case ValueType::ipv4:
        std::memcpy(&out.val.ip, value.address.data(), sizeof out.val.ip);
        break;
    case ValueType::ipv6:
        std::memcpy(&out.val.ip6, value.address.data(), sizeof out.val.ip6);
        break;
    case ValueType::ipv4prefix:
        std::memcpy(&out.val.ipv4prefix.ip, value.address.data(), sizeof out.val.ipv4prefix.ip);
        out.val.ipv4prefix.len = static_cast<std::uint8_t>(value.number);
        break;
    case ValueType::xmltag:
    case ValueType::xmlbegin:
    case ValueType::xmlend:
        out.val.xmltag = {value.tag, value.ns};
        break;
    case ValueType::duration:
        std::memcpy(&out.val.duration, value.duration.data(), sizeof out.val.duration);
        break;
    case ValueType::list:
        set_list(value, arena, &out);
        break;
    default:
        set_number(value.number, &out);
        break;
    }
    return out;
}

std::vector<confd_value_t> to_c(const std::vector<proto::Value> &values, Arena *arena)
{
    std::vector<confd_value_t> out;
    out.reserve(values.size());
    for (const proto::Value &value : values) {
        out.push_back(to_c(value, arena));
    }
    return out;
}

std::vector<confd_tag_value_t> to_c(const std::vector<proto::TagValue> &values, Arena *arena)
{
    std::vector<confd_tag_value_t> out;
    out.reserve(values.size());
    for (const proto::TagValue &item : values) {
        out.push_back({
            {item.tag, item.ns},
            to_c(item.value, arena)
        });
    }
    return out;
}

bool to_c(const proto::KeyPath &path, Arena *arena, confd_hkeypath_t *out)
{
    if (path.size() > CONFD_MAX_DEPTH) return false;
    std::memset(out, 0, sizeof *out);
    out->len = static_cast<int>(path.size());
    for (std::size_t i = 0; i < path.size(); i++) {
        const proto::PathElement &element = path[i];
        if (!element.is_keys) {
            out->v[i][0] = to_c(proto::make_tag(ValueType::xmltag, element.tag, element.ns), arena);
            continue;
        }
        if (element.keys.size() >= CONFD_MAX_KEYS) return false; // one stays free for the end mark
        const std::vector<confd_value_t> keys = to_c(element.keys, arena);
        std::copy(keys.begin(), keys.end(), out->v[i]);
    }
    return true;
}

bool from_c(const confd_value_t &value, proto::Value *out)
{
    *out = {};
    out->type = static_cast<ValueType>(value.type);
    switch (value.type) {
    case C_NOEXISTS:
        return true;
    case C_STR:
        return value.val.s && take_bytes(value.val.s, std::strlen(value.val.s), out);
    case C_BUF:
    case C_BINARY:
        return take_bytes(value.val.buf.ptr, value.val.buf.size, out);
    case C_IPV4:
        std::memcpy(out->address.data(), &value.val.ip, sizeof value.val.ip);
        return true;
    case C_IPV6:
        std::memcpy(out->address.data(), &value.val.ip6, sizeof value.val.ip6);
        return true;
    case C_IPV4PREFIX:
        return take_prefix(value.val.ipv4prefix, out);
    case C_XMLTAG:
    case C_XMLBEGIN:
    case C_XMLEND:
        out->tag = value.val.xmltag.tag;
        out->ns = value.val.xmltag.ns;
        return true;
    case C_DURATION:
        std::memcpy(out->duration.data(), &value.val.duration, sizeof value.val.duration);
        return out->duration.back() < proto::micros_per_second;
    case C_LIST:
        return take_list(value.val.list, out);
    default:
        out->number = number_of(value);
        return proto::is_number(out->type);
    }
}

bool from_c(const confd_value_t *values, int n, std::vector<proto::Value> *out)
{
    out->clear();
    if (n < 0 || n > std::numeric_limits<std::uint16_t>::max() || (n > 0 && !values)) return false;
    out->resize(static_cast<std::size_t>(n));
    for (std::size_t i = 0; i < out->size(); i++) {
        if (!from_c(values[i], &(*out)[i])) return false;
    }
    return true;
}

bool from_c(const confd_tag_value_t *values, int n, std::vector<proto::TagValue> *out)
{
    out->clear();
    if (n < 0 || n > std::numeric_limits<std::uint16_t>::max() || (n > 0 && !values)) return false;
    out->resize(static_cast<std::size_t>(n));
    for (std::size_t i = 0; i < out->size(); i++) {
        proto::TagValue &item = (*out)[i];
        item.tag = values[i].tag.tag;
        item.ns = values[i].tag.ns;
        if (!from_c(values[i].v, &item.value)) return false;
    }
    return true;
}

} // namespace confd
