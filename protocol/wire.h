// Encoding of the primitives: big-endian integers, texts as u32 length and bytes, values as u8 type and content.
// A Reader that meets anything malformed turns bad, stays bad and yields zeros from then on, so callers test it once.
#ifndef GW_PROTOCOL_WIRE_H
#define GW_PROTOCOL_WIRE_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "protocol/value.h"

namespace proto {

using Writer = std::string;

struct Reader {
    const char *at = nullptr;
    const char *end = nullptr;
    bool ok = true;
};

Reader make_reader(std::string_view bytes);
// True when everything was read and nothing was malformed.
bool at_end(const Reader &r);

// The low bytes of a number, at most eight.
void put_int(Writer &w, std::uint64_t v, std::size_t bytes);
void put_u8(Writer &w, std::uint8_t v);
void put_u32(Writer &w, std::uint32_t v);
void put_text(Writer &w, std::string_view v);
void put_value(Writer &w, const Value &v);
void put_tag_value(Writer &w, const TagValue &v);
void put_keypath(Writer &w, const KeyPath &v);

std::uint64_t get_int(Reader &r, std::size_t bytes);
std::uint8_t get_u8(Reader &r);
std::uint16_t get_u16(Reader &r);
std::uint32_t get_u32(Reader &r);
std::string get_text(Reader &r);
Value get_value(Reader &r);
TagValue get_tag_value(Reader &r);
KeyPath get_keypath(Reader &r);

// What a peer may make of a few bytes each is bounded: a value is much larger in memory than on the wire.
inline constexpr std::uint32_t max_list_items = 1024; // of a value of type list
inline constexpr std::uint32_t max_path_depth = 64;
inline constexpr std::uint32_t max_path_keys = 16;

// Lists are a u32 count and the elements. An element is at least one byte, so a count beyond the bytes left is
// malformed before anything is allocated.
template <typename T, typename Put> void put_list(Writer &w, const std::vector<T> &list, Put put)
{
    put_u32(w, static_cast<std::uint32_t>(list.size()));
    for (const T &item : list)
        put(w, item);
}

template <typename T, typename Get> std::vector<T> get_list(Reader &r, Get get, std::uint32_t most = UINT32_MAX)
{
    std::vector<T> list;
    const std::uint32_t count = get_u32(r);
    if (count > r.end - r.at || count > most) r.ok = false;
    for (std::uint32_t i = 0; r.ok && i < count; i++)
        list.push_back(get(r));
    return list;
}

} // namespace proto

#endif
