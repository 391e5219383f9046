#include "protocol/wire.h"

#include <algorithm>

namespace proto {

namespace {

constexpr std::size_t ipv4_bytes = 4;

void put_bytes(Writer &w, const Value &v, std::size_t count)
{
    w.append(reinterpret_cast<const char *>(v.address.data()), count);
}

void get_bytes(Reader &r, Value &v, std::size_t count)
{
    if (!r.ok || static_cast<std::size_t>(r.end - r.at) < count) {
        r.ok = false;
        return;
    }
    std::copy_n(r.at, count, reinterpret_cast<char *>(v.address.data()));
    r.at += count;
}

void get_number(Reader &r, Value &v)
{
    std::int64_t low = 0;
    std::int64_t high = 0;
    v.number = static_cast<std::int64_t>(get_int(r, 8));
    if (!is_number(v.type, &low, &high) || v.number < low || v.number > high) r.ok = false;
}

Value get_plain_value(Reader &r);

void get_content(Reader &r, Value &v)
{
    switch (v.type) {
    case ValueType::noexists:
        break;
    case ValueType::str:
    case ValueType::buf:
    case ValueType::binary:
        v.bytes = get_text(r);
        break;
    case ValueType::int8:
    case ValueType::int16:
    case ValueType::int32:
    case ValueType::int64:
    case ValueType::uint8:
    case ValueType::uint16:
    case ValueType::uint32:
    case ValueType::uint64:
    case ValueType::boolean:
    case ValueType::enum_value:
        get_number(r, v);
        break;
    case ValueType::ipv4:
        get_bytes(r, v, ipv4_bytes);
        break;
    case ValueType::ipv6:
        get_bytes(r, v, v.address.size());
        break;
    case ValueType::ipv4prefix:
        get_bytes(r, v, ipv4_bytes);
        v.number = get_u8(r);
        if (v.number > 32) r.ok = false;
        break;
    case ValueType::xmltag:
    case ValueType::xmlbegin:
    case ValueType::xmlend:
        v.tag = get_u32(r);
        v.ns = get_u32(r);
        break;
    case ValueType::duration:
        for (std::uint32_t &field : v.duration)
            field = get_u32(r);
        if (v.duration.back() >= micros_per_second) r.ok = false;
        break;
    case ValueType::list:
        v.list = get_list<Value>(r, get_plain_value, max_list_items);
        break;
    }
}

// An item of a list: a value that a leaf can have. Looked at before it is read, since a list in a list would let a peer
// nest without bound.
Value get_plain_value(Reader &r)
{
    const ValueType type = r.ok && r.at < r.end ? static_cast<ValueType>(*r.at) : ValueType::noexists;
    const bool plain = type != ValueType::list && type != ValueType::noexists && type != ValueType::xmlbegin &&
                       type != ValueType::xmlend;
    if (!plain) r.ok = false;
    return get_value(r);
}

} // namespace

Reader make_reader(std::string_view bytes)
{
    return {bytes.data(), bytes.data() + bytes.size(), true};
}

bool at_end(const Reader &r)
{
    return r.ok && r.at == r.end;
}

void put_int(Writer &w, std::uint64_t v, std::size_t bytes)
{
    for (std::size_t left = bytes; left > 0; left--)
        w.push_back(static_cast<char>(v >> 8 * (left - 1)));
}

void put_u8(Writer &w, std::uint8_t v)
{
    put_int(w, v, 1);
}

void put_u32(Writer &w, std::uint32_t v)
{
    put_int(w, v, 4);
}

void put_text(Writer &w, std::string_view v)
{
    put_u32(w, static_cast<std::uint32_t>(v.size()));
    w.append(v);
}

void put_value(Writer &w, const Value &v)
{
    put_u8(w, static_cast<std::uint8_t>(v.type));
    switch (v.type) {
    case ValueType::noexists:
        break;
    case ValueType::str:
    case ValueType::buf:
    case ValueType::binary:
        put_text(w, v.bytes);
        break;
    case ValueType::int8:
    case ValueType::int16:
    case ValueType::int32:
    case ValueType::int64:
    case ValueType::uint8:
    case ValueType::uint16:
    case ValueType::uint32:
    case ValueType::uint64:
    case ValueType::boolean:
    case ValueType::enum_value:
        put_int(w, static_cast<std::uint64_t>(v.number), 8);
        break;
    case ValueType::ipv4:
        put_bytes(w, v, ipv4_bytes);
        break;
    case ValueType::ipv6:
        put_bytes(w, v, v.address.size());
        break;
    case ValueType::ipv4prefix:
        put_bytes(w, v, ipv4_bytes);
        put_u8(w, static_cast<std::uint8_t>(v.number));
        break;
    case ValueType::xmltag:
    case ValueType::xmlbegin:
    case ValueType::xmlend:
        put_u32(w, v.tag);
        put_u32(w, v.ns);
        break;
    case ValueType::duration:
        for (const std::uint32_t field : v.duration)
            put_u32(w, field);
        break;
    case ValueType::list:
        put_list(w, v.list, put_value);
        break;
    }
}

void put_tag_value(Writer &w, const TagValue &v)
{
    put_u32(w, v.tag);
    put_u32(w, v.ns);
    put_value(w, v.value);
}

void put_keypath(Writer &w, const KeyPath &v)
{
    put_list(w, v, [](Writer &out, const PathElement &element) {
        put_u8(out, element.is_keys ? 1 : 0);
        put_u32(out, element.tag);
        put_u32(out, element.ns);
        put_list(out, element.keys, put_value);
    });
}

std::uint64_t get_int(Reader &r, std::size_t bytes)
{
    if (!r.ok || static_cast<std::size_t>(r.end - r.at) < bytes) {
        r.ok = false;
        return 0;
    }
    std::uint64_t v = 0;
    for (std::size_t i = 0; i < bytes; i++)
        v = v << 8 | static_cast<std::uint8_t>(*r.at++);
    return v;
}

std::uint8_t get_u8(Reader &r)
{
    return static_cast<std::uint8_t>(get_int(r, 1));
}

std::uint16_t get_u16(Reader &r)
{
    return static_cast<std::uint16_t>(get_int(r, 2));
}

std::uint32_t get_u32(Reader &r)
{
    return static_cast<std::uint32_t>(get_int(r, 4));
}

std::string get_text(Reader &r)
{
    const std::uint32_t size = get_u32(r);
    if (!r.ok || static_cast<std::size_t>(r.end - r.at) < size) {
        r.ok = false;
        return {};
    }
    std::string text(r.at, size);
    r.at += size;
    return text;
}

Value get_value(Reader &r)
{
    Value v;
    const std::uint8_t type = get_u8(r);
    if (!r.ok || !is_value_type(type)) {
        r.ok = false;
        return v;
    }
    v.type = static_cast<ValueType>(type);
    get_content(r, v);
    return r.ok ? v : Value{};
}

TagValue get_tag_value(Reader &r)
{
    TagValue v;
    v.tag = get_u32(r);
    v.ns = get_u32(r);
    v.value = get_value(r);
    return v;
}

KeyPath get_keypath(Reader &r)
{
    return get_list<PathElement>(
        r,
        [](Reader &in) {
            PathElement element;
            element.is_keys = get_u8(in) != 0;
            element.tag = get_u32(in);
            element.ns = get_u32(in);
            element.keys = get_list<Value>(in, get_value, max_path_keys);
            return element;
        },
        max_path_depth);
}

} // namespace proto
