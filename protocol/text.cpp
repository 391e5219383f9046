// Values and their canonical YANG text, and text that is safe to show.
#include <arpa/inet.h>

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <utility>

#include "protocol/value.h"

namespace proto {

namespace {

constexpr std::string_view base64_digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

std::string address_text(int family, const Value &v)
{
    char text[INET6_ADDRSTRLEN] = "";
    inet_ntop(family, v.address.data(), text, sizeof text);
    return text;
}

// RFC 4648, padded: the canonical form of the YANG type binary.
std::string base64(std::string_view bytes)
{
    std::string out;
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        const std::size_t n = std::min<std::size_t>(3, bytes.size() - i);
        std::uint32_t word = 0;
        for (std::size_t k = 0; k < 3; k++)
            word = word << 8 | (k < n ? static_cast<std::uint8_t>(bytes[i + k]) : 0U);
        for (std::size_t k = 0; k < 4; k++)
            out.push_back(k <= n ? base64_digits[word >> (18 - 6 * k) & 63] : '=');
    }
    return out;
}

bool from_base64(std::string_view text, std::string *out)
{
    if (text.size() % 4 != 0) return false;
    const std::size_t pad = text.ends_with("==") ? 2 : text.ends_with('=') ? 1 : 0;
    std::uint32_t word = 0;
    for (std::size_t i = 0; i < text.size(); i++) {
        const std::size_t digit = i >= text.size() - pad ? 0 : base64_digits.find(text[i]);
        if (digit == std::string_view::npos) return false;
        word = word << 6 | static_cast<std::uint32_t>(digit);
        if (i % 4 != 3) continue;
        for (int shift = 16; shift >= 0; shift -= 8)
            out->push_back(static_cast<char>(word >> shift));
    }
    out->resize(out->size() - pad);
    return true;
}

void append_field(std::string &out, std::uint32_t n, char unit)
{
    if (n != 0) out += std::to_string(n) + unit;
}

// ISO 8601; zero is PT0S.
std::string duration_text(const Value &v)
{
    std::string out = "P";
    for (std::size_t i = 0; i < 3; i++)
        append_field(out, v.duration[i], "YMD"[i]);
    std::string time;
    for (std::size_t i = 0; i < 2; i++)
        append_field(time, v.duration[3 + i], "HM"[i]);
    if (v.duration[6] != 0) {
        char fraction[32];
        std::snprintf(fraction, sizeof fraction, "%u.%06uS", v.duration[5], v.duration[6]);
        time += fraction;
    } else {
        append_field(time, v.duration[5], 'S');
    }
    if (time.empty() && out == "P") time = "0S";
    return time.empty() ? out : out + "T" + time;
}

// One "number unit" of a duration, if it comes next.
bool take_field(std::string_view &text, char unit, std::uint32_t *field)
{
    std::uint32_t n = 0;
    const auto [end, err] = std::from_chars(text.data(), text.data() + text.size(), n);
    if (err != std::errc() || end == text.data() + text.size() || *end != unit) return false;
    *field = n;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()) + 1);
    return true;
}

bool take_seconds(std::string_view &text, Value *v)
{
    if (take_field(text, 'S', &v->duration[5])) return true;
    const std::size_t point = text.find('.');
    if (point == std::string_view::npos || !text.ends_with('S')) return false;
    std::string digits(text.substr(point + 1, text.size() - point - 2));
    std::string_view fraction = digits;
    if (digits.empty() || digits.find_first_not_of("0123456789") != std::string::npos) return false;
    digits.resize(6, '0');
    digits += 'S';
    fraction = digits;
    std::string whole = std::string(text.substr(0, point)) + 'S';
    std::string_view seconds = whole;
    if (!take_field(fraction, 'S', &v->duration[6]) || !take_field(seconds, 'S', &v->duration[5])) return false;
    text = {};
    return true;
}

bool duration_from(std::string_view text, Value *v)
{
    if (!text.starts_with('P') || text.size() < 3) return false;
    text.remove_prefix(1);
    for (std::size_t i = 0; i < 3; i++)
        take_field(text, "YMD"[i], &v -> duration[i]);
    if (text.empty()) return true;
    if (!text.starts_with('T') || text.size() < 2) return false;
    text.remove_prefix(1);
    for (std::size_t i = 0; i < 2; i++)
        take_field(text, "HM"[i], &v -> duration[3 + i]);
    if (!text.empty()) take_seconds(text, v);
    return text.empty();
}

bool prefix_from(std::string_view text, Value *v)
{
    const std::size_t slash = text.find('/');
    if (slash == std::string_view::npos) return false;
    Value address;
    if (!from_text(ValueType::ipv4, text.substr(0, slash), &address)) return false;
    v->address = address.address;
    Value length;
    if (!from_text(ValueType::uint8, text.substr(slash + 1), &length) || length.number > 32) return false;
    v->number = length.number;
    return true;
}

bool number_from(std::string_view text, Value *v)
{
    const char *end = text.data() + text.size();
    if (v->type == ValueType::boolean) {
        v->number = text == "true" ? 1 : 0;
        return text == "true" || text == "false";
    }
    if (v->type == ValueType::uint64) {
        std::uint64_t n = 0;
        const auto [stop, err] = std::from_chars(text.data(), end, n);
        v->number = static_cast<std::int64_t>(n);
        return err == std::errc() && stop == end;
    }
    std::int64_t low = 0;
    std::int64_t high = 0;
    is_number(v->type, &low, &high);
    const auto [stop, err] = std::from_chars(text.data(), end, v->number);
    return err == std::errc() && stop == end && v->number >= low && v->number <= high;
}

// Bytes of the UTF-8 sequence (RFC 3629) at the front, 0 when there is none.
std::size_t utf8_length(std::string_view s)
{
    const auto byte = [&s](std::size_t i) { return i < s.size() ? static_cast<std::uint8_t>(s[i]) : 0U; };
    const std::uint32_t first = byte(0);
    std::size_t length = first < 0x80 ? 1 : first >= 0xc2 && first < 0xe0 ? 2 : first >= 0xe0 && first < 0xf0 ? 3 : 0;
    if (first >= 0xf0 && first < 0xf5) length = 4;
    for (std::size_t i = 1; i < length; i++) {
        if ((byte(i) & 0xc0) != 0x80) return 0;
    }
    // Overlong forms, surrogates and what lies beyond U+10FFFF differ in the second byte.
    const bool bad = (first == 0xe0 && byte(1) < 0xa0) || (first == 0xed && byte(1) > 0x9f) ||
                     (first == 0xf0 && byte(1) < 0x90) || (first == 0xf4 && byte(1) > 0x8f);
    return bad ? 0 : length;
}

} // namespace

std::string printable(std::string_view text)
{
    const auto plain = [](char c) { return c >= 0x20 && c < 0x7f; };
    if (std::all_of(text.begin(), text.end(), plain)) return std::string(text);
    std::string out;
    while (!text.empty()) {
        const auto byte = static_cast<std::uint8_t>(text[0]);
        const std::size_t length = utf8_length(text);
        const bool c1_control = length == 2 && byte == 0xc2 && static_cast<std::uint8_t>(text[1]) < 0xa0;
        if (length == 0 || byte < 0x20 || byte == 0x7f || c1_control) {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\x%02x", byte);
            out += escaped;
            text.remove_prefix(1);
            continue;
        }
        out += text.substr(0, length);
        text.remove_prefix(length);
    }
    return out;
}

std::string to_text(const Value &v)
{
    switch (v.type) {
    case ValueType::noexists:
    case ValueType::xmltag:
    case ValueType::xmlbegin:
    case ValueType::xmlend:
        return {};
    case ValueType::str:
    case ValueType::buf:
        return v.bytes;
    case ValueType::binary:
        return base64(v.bytes);
    case ValueType::boolean:
        return v.number != 0 ? "true" : "false";
    case ValueType::uint64:
        return std::to_string(static_cast<std::uint64_t>(v.number));
    case ValueType::int8:
    case ValueType::int16:
    case ValueType::int32:
    case ValueType::int64:
    case ValueType::uint8:
    case ValueType::uint16:
    case ValueType::uint32:
    case ValueType::enum_value:
        return std::to_string(v.number);
    case ValueType::ipv4:
        return address_text(AF_INET, v);
    case ValueType::ipv6:
        return address_text(AF_INET6, v);
    case ValueType::ipv4prefix:
        return address_text(AF_INET, v) + "/" + std::to_string(v.number);
    case ValueType::duration:
        return duration_text(v);
    case ValueType::list:
        break;
    }
    std::string out;
    for (const Value &item : v.list)
        out += (out.empty() ? "" : ",") + to_text(item);
    return out;
}

bool from_text(ValueType type, std::string_view text, Value *out)
{
    Value v;
    v.type = type;
    bool ok = false;
    switch (type) {
    case ValueType::noexists:
    case ValueType::xmltag:
    case ValueType::xmlbegin:
    case ValueType::xmlend:
    case ValueType::list:
        break;
    case ValueType::str:
    case ValueType::buf:
        v.bytes = text;
        ok = true;
        break;
    case ValueType::binary:
        ok = from_base64(text, &v.bytes);
        break;
    case ValueType::boolean:
    case ValueType::int8:
    case ValueType::int16:
    case ValueType::int32:
    case ValueType::int64:
    case ValueType::uint8:
    case ValueType::uint16:
    case ValueType::uint32:
    case ValueType::uint64:
    case ValueType::enum_value:
        ok = number_from(text, &v);
        break;
    case ValueType::ipv4:
        ok = inet_pton(AF_INET, std::string(text).c_str(), v.address.data()) == 1;
        break;
    case ValueType::ipv6:
        ok = inet_pton(AF_INET6, std::string(text).c_str(), v.address.data()) == 1;
        break;
    case ValueType::ipv4prefix:
        ok = prefix_from(text, &v);
        break;
    case ValueType::duration:
        ok = duration_from(text, &v);
        break;
    }
    if (ok) *out = std::move(v);
    return ok;
}

} // namespace proto
