// The tree of Click control files: which handlers exist, which way they go and what reading them answers.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

struct ClickNode {
    bool readable = false;
    bool writable = false;
    std::string value;
};

// By path below the mount point; every path begins with '/'. Directories exist by having something below them.
using ClickTree = std::map<std::string, ClickNode, std::less<>>;

// Text of a tree file: lines "MODE PATH [VALUE]", MODE of the letters r and w, "\n" in VALUE for a line break, '#' for
// a comment. Fills `tree`; false with the offending line in `error` when a line is none of these.
bool parse_click_tree(std::string_view text, ClickTree &tree, std::string &error);

bool is_click_dir(const ClickTree &tree, std::string_view path);

// Names directly below the directory `path`, each once.
std::vector<std::string> list_click_dir(const ClickTree &tree, std::string_view path);
