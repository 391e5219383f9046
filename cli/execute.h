// From words to the handler of the command they name.
#ifndef GW_CLI_EXECUTE_H
#define GW_CLI_EXECUTE_H

#include <string>
#include <string_view>
#include <vector>

#include "cli/cli.h"
#include "cli/words.h"

namespace cli {

// Both report problems and give the exit status. A blank line and a comment do nothing.
int execute_line(Cli *cli, std::string_view line);
// `taken` are options that were taken out before.
int execute_words(Cli *cli, const std::vector<Word> &words, const Options &taken);

// One line after the other until one fails or one of them leaves; messages get the line's number.
int execute_lines(Cli *cli, const std::vector<std::string> &lines);
int execute_script(Cli *cli, std::FILE *in);

} // namespace cli

#endif
