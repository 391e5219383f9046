// What may stand at the cursor, from the command table and from the agent.
#ifndef GW_CLI_COMPLETE_H
#define GW_CLI_COMPLETE_H

#include <string>
#include <string_view>
#include <vector>

#include "cli/cli.h"
#include "cli/words.h"

namespace cli {

struct Completion {
    Typed typed;
    std::vector<proto::Candidate> list; // an empty word: a value of the operator's choice, help says which
};

// `line` ends at the cursor. Without the agent only the table answers.
Completion complete_line(Cli *cli, std::string_view line);

// What to replace the partial word by: as much as all candidates share, followed by a blank when there is one only.
// "" when nothing can be added.
std::string insertion(const Completion &completion);

// One candidate per line with its help.
std::string candidate_list(const Completion &completion);

} // namespace cli

#endif
