// What the rows of the command table run. Each reports its own problems and gives the exit status.
#ifndef GW_CLI_HANDLERS_H
#define GW_CLI_HANDLERS_H

#include "cli/command.h"

namespace cli {

int show_configuration(Cli *cli, const Call &call);
int show_candidate(Cli *cli, const Call &call);
int show_operational(Cli *cli, const Call &call);
int show_view(Cli *cli, const Call &call);
int show_status(Cli *cli, const Call &call);
int list_rollbacks(Cli *cli, const Call &call);
int clear_counters(Cli *cli, const Call &call);
int watch(Cli *cli, const Call &call);
int watch_view(Cli *cli, const Call &call);

int set_value(Cli *cli, const Call &call);
int delete_path(Cli *cli, const Call &call);
int show_diff(Cli *cli, const Call &call);
int validate(Cli *cli, const Call &call);
int commit(Cli *cli, const Call &call);
int confirm_commit(Cli *cli, const Call &call);
int abort_commit(Cli *cli, const Call &call);
int roll_back(Cli *cli, const Call &call);
int discard(Cli *cli, const Call &call);
int load_candidate(Cli *cli, const Call &call);
int load_and_commit(Cli *cli, const Call &call);

int enter_configure(Cli *cli, const Call &call);
int leave_mode(Cli *cli, const Call &call);
int leave_program(Cli *cli, const Call &call);
int show_help(Cli *cli, const Call &call);

// The text of the command's view as it is now.
bool read_view(Cli *cli, const Call &call, std::string *text, Problem *why);

// What a session leaves behind when it ends: uncommitted changes go, with a note unless a failure has said enough.
void drop_candidate(Cli *cli, int status);

inline constexpr const char *event_kinds[] = {"notifications", "traps", "commits"}; // watch_* is 1 << index
inline constexpr const char *commit_words[] = {"confirmed", "comment"};

} // namespace cli

#endif
