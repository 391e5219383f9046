#include "cli/words.h"

#include <algorithm>

namespace cli {

namespace {

bool is_blank(char c)
{
    return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

struct Scan {
    std::string_view line;
    std::size_t at = 0;
    bool open_quote = false;
    bool open_escape = false;
};

// Reads one word from scan->at, which is no blank.
Word take_word(Scan *scan)
{
    Word word;
    for (; scan->at < scan->line.size(); scan->at++) {
        const char c = scan->line[scan->at];
        if (scan->open_escape) {
            word.text += c;
            scan->open_escape = false;
        } else if (c == '\\') {
            scan->open_escape = true;
        } else if (c == '"') {
            scan->open_quote = !scan->open_quote;
            word.quoted = true;
        } else if (is_blank(c) && !scan->open_quote) {
            break;
        } else {
            word.text += c;
        }
    }
    return word;
}

void skip_blanks(Scan *scan)
{
    while (scan->at < scan->line.size() && is_blank(scan->line[scan->at]))
        scan->at++;
}

} // namespace

bool split_line(std::string_view line, std::vector<Word> *words, std::string *why)
{
    words->clear();
    Scan scan{line};
    skip_blanks(&scan);
    if (scan.at < line.size() && line[scan.at] == '#') return true;
    while (scan.at < line.size()) {
        words->push_back(take_word(&scan));
        skip_blanks(&scan);
    }
    if (scan.open_escape || scan.open_quote)
        *why = scan.open_escape ? "the line ends in a backslash" : "a quote is left open; close it with \"";
    return !scan.open_escape && !scan.open_quote;
}

Typed split_typed(std::string_view line)
{
    Typed typed;
    Scan scan{line};
    skip_blanks(&scan);
    typed.partial_at = scan.at;
    while (scan.at < line.size()) {
        typed.partial_at = scan.at;
        Word word = take_word(&scan);
        if (scan.at == line.size()) {
            typed.partial = std::move(word.text);
            break;
        }
        typed.words.push_back(std::move(word));
        skip_blanks(&scan);
        typed.partial_at = scan.at;
    }
    typed.open_quote = scan.open_quote;
    return typed;
}

std::string quote_word(std::string_view text)
{
    // '?' asks for help at the prompt and '#' begins a comment unless they are quoted.
    const bool plain = !text.empty() && text.find_first_of(" \t\r\n\"\\?#") == std::string_view::npos;
    if (plain) return std::string(text);
    std::string out = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\') out += '\\';
        out += c;
    }
    return out + '"';
}

proto::Words texts_of(const std::vector<Word> &words, std::size_t from)
{
    proto::Words texts;
    for (std::size_t i = from; i < words.size(); i++)
        texts.push_back(words[i].text);
    return texts;
}

} // namespace cli
