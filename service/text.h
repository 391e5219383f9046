// Text from outside, kept to a length.
#ifndef GW_SERVICE_TEXT_H
#define GW_SERVICE_TEXT_H

#include <cstddef>
#include <string>
#include <string_view>

namespace service {

// The bytes of UTF-8 text that can stay so that at most `max` do and no character is split.
std::size_t whole_characters(std::string_view text, std::size_t max);
std::string cut_text(std::string text, std::size_t max);

} // namespace service

#endif
