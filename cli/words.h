// Lines as operators type them: words split at blanks; "..." keeps blanks, a backslash takes the next character as it
// is (inside quotes too). A line whose first word begins with '#' is a comment.
#ifndef GW_CLI_WORDS_H
#define GW_CLI_WORDS_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "protocol/client.h"

namespace cli {

struct Word {
    std::string text;
    bool quoted = false; // then it is never an option
};

// False when a quote is left open or the line ends in a backslash; *why says which. A comment has no words.
bool split_line(std::string_view line, std::vector<Word> *words, std::string *why);

// A line that is still being typed, up to the cursor.
struct Typed {
    std::vector<Word> words;    // complete ones
    std::string partial;        // the last word so far, quotes removed; empty after a blank
    std::size_t partial_at = 0; // where it begins in the line
    bool open_quote = false;
};

Typed split_typed(std::string_view line);

// The word as it has to be typed.
std::string quote_word(std::string_view text);

proto::Words texts_of(const std::vector<Word> &words, std::size_t from = 0);

} // namespace cli

#endif
