// The program behind main().
#ifndef GW_CLI_RUN_H
#define GW_CLI_RUN_H

#include <cstdio>
#include <string>
#include <vector>

#include "cli/cli.h"

namespace cli {

// `arguments` without the program's name. Gives the exit status.
int run(Cli *cli, const std::vector<std::string> &arguments, std::FILE *in);

} // namespace cli

#endif
