// The data plane's table of forwarded ports, as text: rules in, listing out. Pure.
#pragma once

#include <string>
#include <string_view>

// `rules`: lines "GLOBAL-PORT LOCAL-PORT ADDRESS tcp|udp|both", empty ones do not count. Answers the listing: a header,
// then one line "port protocol address local-port hits" per rule, none of them hit yet. False when a line is no rule.
bool list_mappings(std::string_view rules, std::string &listing);

// `hits`: "PORT [COUNT]". Adds COUNT (default 1) to the hits of every mapping of that global port. False when there is
// none or the text says something else.
bool hit_mappings(std::string_view hits, std::string &listing);
