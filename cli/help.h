#ifndef GW_CLI_HELP_H
#define GW_CLI_HELP_H

#include <string>

#include "protocol/client.h"

namespace cli {

// The commands of a mode whose names begin with the words, with usage and help, one per line; "" when none does.
std::string command_list(unsigned mode, const proto::Words &words);

// What --help prints.
std::string whole_help();

} // namespace cli

#endif
