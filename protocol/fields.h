// Private to protocol/: one list of fields per record serves writing and reading, so the two cannot drift apart.
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

// A record or its const form: one function template per record, named fields(), takes either.
template <typename R, typename Record>
concept Is = std::same_as<std::remove_const_t<R>, Record>;

// Each enumeration that travels says which numbers exist: bool known(Enum).
template <typename E> constexpr bool in_range(E e, E first, E last)
{
    return e >= first && e <= last;
}

template <typename T> constexpr bool is_vector = false;
template <typename T> constexpr bool is_vector<std::vector<T>> = true;

struct Put {
    Writer &w;
};

struct Take {
    Reader &r;
};

template <typename... T> void io(Put &p, const T &...items);
template <typename... T> void io(Take &t, T &...items);

template <typename T> void put_item(Writer &w, const T &v)
{
    if constexpr (std::is_same_v<T, std::string>)
        put_text(w, v);
    else if constexpr (std::is_same_v<T, Value>)
        put_value(w, v);
    else if constexpr (std::is_same_v<T, TagValue>)
        put_tag_value(w, v);
    else if constexpr (std::is_same_v<T, KeyPath>)
        put_keypath(w, v);
    else if constexpr (is_vector<T>)
        put_list(w, v, put_item<typename T::value_type>);
    else if constexpr (std::is_enum_v<T>)
        put_item(w, static_cast<std::underlying_type_t<T>>(v));
    else if constexpr (std::is_class_v<T>) {
        Put p{w};
        fields(p, v);
    } else if constexpr (sizeof(T) == 1)
        put_u8(w, static_cast<std::uint8_t>(v));
    else if constexpr (sizeof(T) == 2)
        put_u16(w, static_cast<std::uint16_t>(v));
    else if constexpr (sizeof(T) == 4)
        put_u32(w, static_cast<std::uint32_t>(v));
    else
        put_u64(w, static_cast<std::uint64_t>(v));
}

template <typename T> T take_item(Reader &r)
{
    if constexpr (std::is_same_v<T, std::string>)
        return get_text(r);
    else if constexpr (std::is_same_v<T, Value>)
        return get_value(r);
    else if constexpr (std::is_same_v<T, TagValue>)
        return get_tag_value(r);
    else if constexpr (std::is_same_v<T, KeyPath>)
        return get_keypath(r);
    else if constexpr (is_vector<T>)
        return get_list<typename T::value_type>(r, take_item<typename T::value_type>);
    else if constexpr (std::is_enum_v<T>) {
        const T v = static_cast<T>(take_item<std::underlying_type_t<T>>(r));
        if (!known(v)) r.ok = false;
        return v;
    } else if constexpr (std::is_class_v<T>) {
        T v;
        Take t{r};
        fields(t, v);
        return v;
    } else if constexpr (std::is_same_v<T, bool>)
        return get_u8(r) != 0;
    else if constexpr (sizeof(T) == 1)
        return static_cast<T>(get_u8(r));
    else if constexpr (sizeof(T) == 2)
        return static_cast<T>(get_u16(r));
    else if constexpr (sizeof(T) == 4)
        return static_cast<T>(get_u32(r));
    else
        return static_cast<T>(get_u64(r));
}

template <typename... T> void io(Put &p, const T &...items)
{
    (put_item(p.w, items), ...);
}

template <typename... T> void io(Take &t, T &...items)
{
    ((items = take_item<T>(t.r)), ...);
}

template <typename Io, Is<Pair> R> void fields(Io &f, R &r)
{
    io(f, r.name, r.value);
}

} // namespace proto

// Defines encode() and decode() of a record whose fields() is visible.
#define GW_PROTOCOL_CODEC(Record)                                                                                      \
    std::string encode(const Record &record)                                                                           \
    {                                                                                                                  \
        Writer w;                                                                                                      \
        put_item(w, record);                                                                                           \
        return w;                                                                                                      \
    }                                                                                                                  \
    bool decode(std::string_view payload, Record *record)                                                              \
    {                                                                                                                  \
        Reader r = make_reader(payload);                                                                               \
        *record = take_item<Record>(r);                                                                                \
        return at_end(r);                                                                                              \
    }

#endif
