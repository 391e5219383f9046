// The prompt of an interactive session: line editing, history, TAB and '?'.
#ifndef GW_CLI_PROMPT_H
#define GW_CLI_PROMPT_H

#include "cli/cli.h"

namespace cli {

// Until the operator leaves; `in` is a terminal. Gives the exit status.
int prompt_for_lines(Cli *cli, std::FILE *in);

} // namespace cli

#endif
