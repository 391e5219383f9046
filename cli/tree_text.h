// Trees for people. Every word is quoted as `set` would have to get it.
#ifndef GW_CLI_TREE_TEXT_H
#define GW_CLI_TREE_TEXT_H

#include <string>

#include "cli/forest.h"

namespace cli {

// Indented; a node with a single child shares its line, so that the words of a block's line and those of a line in it
// make a path. Values that are only defaults are marked, what could not be read stands in lines that begin with "!".
std::string indented_text(const Node &root);

// One `set` command per value; what could not be read as a comment.
std::string set_commands(const Node &root);

} // namespace cli

#endif
