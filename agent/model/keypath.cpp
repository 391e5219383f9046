#include "agent/model/keypath.h"

#include <algorithm>
#include <charconv>

#include "agent/model/paths.h"

namespace model {

namespace {

bool take_quoted(std::string_view *text, std::string *key)
{
    text->remove_prefix(1);
    while (!text->empty() && text->front() != '"') {
        if (text->front() == '\\' && text->size() > 1) text->remove_prefix(1);
        key->push_back(text->front());
        text->remove_prefix(1);
    }
    if (text->empty()) return false;
    text->remove_prefix(1);
    return true;
}

bool take_keys(std::string_view *text, std::vector<std::string> *keys)
{
    text->remove_prefix(1);
    while (!text->empty() && text->front() != '}') {
        if (text->front() == ' ') {
            text->remove_prefix(1);
            continue;
        }
        std::string key;
        if (text->front() == '"') {
            if (!take_quoted(text, &key)) return false;
        } else {
            const std::size_t end = std::min(text->find_first_of(" }"), text->size());
            key = text->substr(0, end);
            text->remove_prefix(end);
        }
        keys->push_back(key);
    }
    if (text->empty()) return false;
    text->remove_prefix(1);
    return true;
}

bool take_position(std::string_view *text, long *position)
{
    const char *end = text->data() + text->size();
    const auto [stop, failure] = std::from_chars(text->data() + 1, end, *position);
    if (failure != std::errc() || stop == end || *stop != ']' || *position < 0) return false;
    text->remove_prefix(static_cast<std::size_t>(stop - text->data()) + 1);
    return true;
}

bool take_step(std::string_view *text, RawStep *step)
{
    const std::size_t end = std::min(text->find_first_of("/{["), text->size());
    const std::string_view name = text->substr(0, end);
    const std::size_t colon = name.find(':');
    step->module = colon == std::string_view::npos ? "" : name.substr(0, colon);
    step->name = colon == std::string_view::npos ? name : name.substr(colon + 1);
    text->remove_prefix(end);
    step->has_keys = !text->empty() && text->front() == '{';
    if (step->has_keys && !take_keys(text, &step->keys)) return false;
    if (!text->empty() && text->front() == '[' && !take_position(text, &step->position)) return false;
    if (step->name.empty() || (step->has_keys && step->position >= 0)) return false;
    if (text->empty()) return true;
    const bool separated = text->front() == '/';
    if (separated) text->remove_prefix(1);
    return separated;
}

bool needs_quotes(std::string_view key)
{
    return key.empty() || key.find_first_of(" {}\"\\") != std::string_view::npos;
}

std::string quoted(std::string_view key)
{
    if (!needs_quotes(key)) return std::string(key);
    std::string text = "\"";
    for (const char c : key) {
        if (c == '"' || c == '\\') text += '\\';
        text += c;
    }
    return text + "\"";
}

// "[key='value']" at the front; the value may hold brackets.
std::string take_predicate(std::string_view *text)
{
    const std::size_t equals = text->find('=');
    const char quote = equals + 1 < text->size() ? (*text)[equals + 1] : '\'';
    const std::size_t close = text->find(std::string{quote, ']'}, equals + 2);
    if (equals == std::string_view::npos || close == std::string_view::npos) {
        *text = {};
        return {};
    }
    std::string value(text->substr(equals + 2, close - equals - 2));
    text->remove_prefix(close + 2);
    return value;
}

std::string take_name(std::string_view *text)
{
    const std::size_t end = std::min(text->find_first_of("/["), text->size());
    const std::string_view name = text->substr(0, end);
    text->remove_prefix(end);
    return std::string(name.substr(name.find(':') + 1)); // all of it when there is no colon
}

} // namespace

bool split_keypath(std::string_view text, std::vector<RawStep> *steps)
{
    while (!text.empty()) {
        if (!take_step(&text, &steps->emplace_back())) return false;
    }
    return true;
}

std::string in_braces(const std::vector<std::string> &keys)
{
    std::string text;
    for (const std::string &key : keys)
        text += (text.empty() ? "{" : " ") + quoted(key);
    return text.empty() ? text : text + "}";
}

std::string keypath_of_library_path(const std::string &path)
{
    std::string_view text = path;
    std::string result;
    while (!text.empty() && text.front() == '/') {
        text.remove_prefix(1);
        result += "/" + take_name(&text);
        std::vector<std::string> keys;
        while (!text.empty() && text.front() == '[')
            keys.push_back(take_predicate(&text));
        result += in_braces(keys);
    }
    return result;
}

} // namespace model
