// The command table: one row per command drives dispatch, help, completion and the tests.
#ifndef GW_CLI_COMMAND_H
#define GW_CLI_COMMAND_H

#include <array>
#include <span>
#include <string>
#include <vector>

#include "cli/cli.h"
#include "cli/view.h"

namespace cli {

enum class Arguments : std::uint8_t { // how they complete
    none,
    commands,
    set_path,    // of the candidate, and values
    config_path, // of the configuration
    oper_path,   // of everything
    view_path,   // of everything, below the view's path
    file,
    event_kinds,
    commit_words,
    rollback_number,
    lines, // of configuration mode, one per argument
};

struct Command;

struct Call {
    const Command *command = nullptr;
    proto::Words args;
    Options options; // of the line and of the session
};

inline constexpr std::size_t name_words = 4;

struct Command {
    std::array<const char *, name_words> name;
    unsigned modes; // in_operation, in_configure
    Arguments arguments;
    std::size_t least; // number of arguments
    std::size_t most;
    const char *usage; // of the arguments
    unsigned options;  // --json always is
    const char *help;
    int (*run)(Cli *cli, const Call &call);
    const View *view; // of commands that show one
};

std::span<const Command> commands();
std::string name_of(const Command &command);

// The words after these belong to the path or value, whatever they look like.
bool is_raw(const Command &command);

// The command that the words begin with; each word may be cut as long as it stays the only one that fits.
struct Lookup {
    const Command *command = nullptr;      // null: none, or not complete
    std::size_t used = 0;                  // words that are part of the name
    std::vector<const Command *> matching; // all whose name begins with those
    std::string why;                       // without a command: what is wrong and what would be accepted
};

Lookup look_up(unsigned mode, const proto::Words &words);

// The distinct words that may stand at this place of a name, in table order.
std::vector<std::string> next_words(const std::vector<const Command *> &matching, std::size_t at);

// The option of this list that `word` is, may be cut; "" when it is none or several.
std::string keyword(std::span<const char *const> list, const std::string &word);
std::string one_of(const std::vector<std::string> &words);

} // namespace cli

#endif
