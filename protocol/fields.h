// Private to protocol/: one list of fields per record serves writing and reading, so the two cannot drift apart.
//
// A source defines, per record, a template named fields() that names its members in order, and then GW_PROTOCOL_CODEC.
#ifndef GW_PROTOCOL_FIELDS_H
#define GW_PROTOCOL_FIELDS_H

#include <concepts>
#include <cstdint>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "protocol/pair.h"
#include "protocol/wire.h"

namespace proto {

// A record or its const form: one fields() takes either.
template <typename R, typename Record>
concept Is = std::same_as<std::remove_const_t<R>, Record>;

// Each enumeration that travels says which numbers exist: bool known(Enum).
template <typename E> constexpr bool in_range(E e, E first, E last)
{
    return e >= first && e <= last;
}

struct Put {
    Writer &w;
};

struct Take {
    Reader &r;
};

// ---- writing

inline void put_item(Writer &w, const std::string &v)
{
    put_text(w, v);
}

inline void put_item(Writer &w, const Value &v)
{
    put_value(w, v);
}

inline void put_item(Writer &w, const TagValue &v)
{
    put_tag_value(w, v);
}

inline void put_item(Writer &w, const KeyPath &v)
{
    put_keypath(w, v);
}

template <std::integral T> void put_item(Writer &w, T v)
{
    put_int(w, static_cast<std::uint64_t>(v), sizeof v);
}

template <typename T>
requires std::is_enum_v<T>
void put_item(Writer &w, T v)
{
    put_item(w, static_cast<std::underlying_type_t<T>>(v));
}

template <typename T>
requires std::is_class_v<T>
void put_item(Writer &w, const T &record)
{
    Put p{w};
    fields(p, record);
}

template <typename T> void put_item(Writer &w, const std::vector<T> &v)
{
    put_list(w, v, [](Writer &out, const T &item) { put_item(out, item); });
}

template <typename... T> void io(Put &p, const T &...items)
{
    (put_item(p.w, items), ...);
}

// ---- reading

inline void take_item(Reader &r, std::string &v)
{
    v = get_text(r);
}

inline void take_item(Reader &r, Value &v)
{
    v = get_value(r);
}

inline void take_item(Reader &r, TagValue &v)
{
    v = get_tag_value(r);
}

inline void take_item(Reader &r, KeyPath &v)
{
    v = get_keypath(r);
}

inline void take_item(Reader &r, bool &v)
{
    v = get_u8(r) != 0;
}

template <std::integral T> void take_item(Reader &r, T &v)
{
    v = static_cast<T>(get_int(r, sizeof v));
}

template <typename T>
requires std::is_enum_v<T>
void take_item(Reader &r, T &v)
{
    std::underlying_type_t<T> number{};
    take_item(r, number);
    v = static_cast<T>(number);
    if (!known(v)) r.ok = false;
}

template <typename T>
requires std::is_class_v<T>
void take_item(Reader &r, T &record)
{
    Take t{r};
    fields(t, record);
}

template <typename T> void take_item(Reader &r, std::vector<T> &v)
{
    v = get_list<T>(r, [](Reader &in) {
        T item{};
        take_item(in, item);
        return item;
    });
}

template <typename... T> void io(Take &t, T &...items)
{
    (take_item(t.r, items), ...);
}

// ---- records

template <typename Io, Is<Pair> R> void fields(Io &f, R &r)
{
    io(f, r.name, r.value);
}

template <typename Record> std::string encode_record(const Record &record)
{
    Writer w;
    put_item(w, record);
    return w;
}

template <typename Record> bool decode_record(std::string_view payload, Record *record)
{
    Reader r = make_reader(payload);
    *record = Record{};
    take_item(r, *record);
    return at_end(r);
}

} // namespace proto

// Defines encode() and decode() of a record.
#define GW_PROTOCOL_CODEC(Record)                                                                                      \
    std::string encode(const Record &record)                                                                           \
    {                                                                                                                  \
        return encode_record(record);                                                                                  \
    }                                                                                                                  \
    bool decode(std::string_view payload, Record *record) /* NOLINT(bugprone-macro-parentheses): a type's name */      \
    {                                                                                                                  \
        return decode_record(payload, record);                                                                         \
    }

#endif
