#include "lab/click_tree.h"

#include <algorithm>

namespace {

std::string_view next_word(std::string_view &text)
{
    const auto start = text.find_first_not_of(' ');
    text.remove_prefix(start == std::string_view::npos ? text.size() : start);
    const auto word = text.substr(0, text.find(' '));
    text.remove_prefix(word.size());
    return word;
}

std::string unescape(std::string_view text)
{
    std::string out;
    for (size_t i = 0; i < text.size(); i++) {
        const bool line_break = text.substr(i, 2) == "\\n";
        out += line_break ? '\n' : text[i];
        i += line_break ? 1 : 0;
    }
    return out;
}

// No name in it is empty.
bool is_path(std::string_view text)
{
    return text.starts_with('/') && !text.ends_with('/') && text.find("//") == std::string_view::npos;
}

bool parse_line(std::string_view line, ClickTree &tree)
{
    const auto mode = next_word(line);
    const auto path = next_word(line);
    if (mode.find_first_not_of("rw") != std::string_view::npos || !is_path(path)) {
        return false;
    }
    const auto start = line.find_first_not_of(' ');
    ClickNode node;
    node.readable = mode.find('r') != std::string_view::npos;
    node.writable = mode.find('w') != std::string_view::npos;
    node.value = start == std::string_view::npos ? "" : unescape(line.substr(start)) + "\n";
    tree.insert_or_assign(std::string(path), node);
    return true;
}

// What every path below the directory `path` begins with.
std::string dir_prefix(std::string_view path)
{
    return path == "/" ? "/" : std::string(path) + "/";
}

} // namespace

bool parse_click_tree(std::string_view text, ClickTree &tree, std::string &error)
{
    while (!text.empty()) {
        const auto line = text.substr(0, text.find('\n'));
        text.remove_prefix(line.size() < text.size() ? line.size() + 1 : line.size());
        const auto start = line.find_first_not_of(' ');
        if (start == std::string_view::npos || line[start] == '#') {
            continue;
        }
        if (!parse_line(line, tree)) {
            error = line;
            return false;
        }
    }
    return true;
}

bool is_click_dir(const ClickTree &tree, std::string_view path)
{
    const auto prefix = dir_prefix(path);
    const auto first = tree.lower_bound(prefix);
    return path == "/" || (first != tree.end() && first->first.starts_with(prefix));
}

std::vector<std::string> list_click_dir(const ClickTree &tree, std::string_view path)
{
    const auto prefix = dir_prefix(path);
    std::vector<std::string> names;
    for (auto it = tree.lower_bound(prefix); it != tree.end() && it->first.starts_with(prefix); ++it) {
        auto name = it->first.substr(prefix.size());
        name.resize(std::min(name.find('/'), name.size()));
        // '.' and '-' sort before '/', so that the paths below one directory need not stand together.
        if (std::find(names.begin(), names.end(), name) == names.end()) {
            names.push_back(name);
        }
    }
    return names;
}
