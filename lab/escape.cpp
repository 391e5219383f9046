#include "lab/escape.h"

#include <array>
#include <cstdio>

std::string escape_line(std::string_view text)
{
    std::string out;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        if (c == '\n' || c == '\\') {
            out += c == '\n' ? "\\n" : "\\\\";
        } else if (byte < 0x20 || byte == 0x7f) {
            std::array<char, 5> hex{};
            (void)snprintf(hex.data(), hex.size(), "\\x%02x", byte);
            out += hex.data();
        } else {
            out += c;
        }
    }
    return out;
}
