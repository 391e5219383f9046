#pragma once

#include <string>
#include <string_view>

// `text` on one line, fit for a log: backslash, line breaks and other control bytes as escapes.
std::string escape_line(std::string_view text);
