#include "service/text.h"

namespace service {

namespace {

bool continues(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xc0U) == 0x80U;
}

} // namespace

std::size_t whole_characters(std::string_view text, std::size_t max)
{
    if (text.size() <= max) return text.size();
    while (max > 0 && continues(text[max]))
        max--;
    return max;
}

std::string cut_text(std::string text, std::size_t max)
{
    text.resize(whole_characters(text, max));
    return text;
}

} // namespace service
