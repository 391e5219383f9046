// JSON as RFC 7951 writes it.
#ifndef GW_CLI_JSON_H
#define GW_CLI_JSON_H

#include <string>
#include <string_view>
#include <vector>

#include "cli/forest.h"

namespace cli {

// A quoted string: control characters escaped, bytes that are no UTF-8 as the four characters \xNN.
std::string json_string(std::string_view text);

// "name":value, for an object. `json` is a value already.
std::string json_member(std::string_view name, std::string_view json);
std::string json_text(std::string_view name, std::string_view text);

std::string json_object(const std::vector<std::string> &members);
std::string json_array(const std::vector<std::string> &values);

// An object of the top-level nodes; 64-bit integers are strings, lists are arrays. What could not be read is left out
// and listed in a member "errors": [{"path":...,"text":...}], which no node's name can be, as those carry a module.
std::string json_tree(const Node &root);

} // namespace cli

#endif
