#include "cli/help.h"

#include "cli/handlers.h"
#include "cli/table.h"

namespace cli {

namespace {

constexpr std::size_t indent = 2;

std::string options_of(unsigned mask)
{
    std::string text;
    for (const OptionRow &row : option_rows()) {
        if ((row.bit & mask) != 0) {
            text += std::string(" [") + row.name + (row.argument == nullptr ? "" : " ") +
                    (row.argument == nullptr ? "" : row.argument) + "]";
        }
    }
    return text;
}

// The names of a command begin with these words, which may be cut.
bool begins_with(const Command &command, const proto::Words &words)
{
    if (words.size() > name_words) return false;
    for (std::size_t i = 0; i < words.size(); i++)
        if (command.name[i] == nullptr || !std::string_view(command.name[i]).starts_with(words[i])) return false;
    return true;
}

constexpr const char *opening =
    "usage: gwcli [OPTION...] COMMAND     execute one command\n"
    "       gwcli configure LINE...       execute each LINE in configuration mode, in one session\n"
    "       gwcli [configure]             prompt for commands, or read them from a standard input that is no terminal\n"
    "       gwcli -                       read commands from standard input\n"
    "\n"
    "Words of commands may be cut as long as they stay unique. Words with blanks stand in \"...\"; a backslash takes\n"
    "the next character as it is. The first line that fails ends a script; '#' begins a comment.\n";

constexpr const char *closing =
    "Exit status: 0 done, 1 refused or failed, 2 not understood. Every error is one line on standard error: where, "
    "what\n"
    "and what would be accepted. A read that is only partly possible shows the rest in lines that begin with '!' and\n"
    "exits 0; when nothing could be read, 1.\n"
    "\n"
    "With --json each command prints one document on a line of its own. Data is encoded as RFC 7951 says; what could "
    "not\n"
    "be read is listed in \"errors\": [{\"path\", \"text\"}] beside the data. An error is also printed as\n"
    "{\"error\": {\"code\", \"path\", \"text\"}}. A commit that warnings prevent has the outcome "
    "\"needs-acceptance\".\n";

} // namespace

std::string command_list(unsigned mode, const proto::Words &words)
{
    std::vector<Field> list;
    for (const Command &command : commands()) {
        if ((command.modes & mode) != 0 && begins_with(command, words)) {
            list.push_back(
                {name_of(command) + (command.usage[0] == '\0' ? "" : " ") + command.usage + options_of(command.options),
                 command.help});
        }
    }
    return fields(list, indent);
}

std::string whole_help()
{
    std::vector<Field> list;
    for (const OptionRow &row : option_rows()) {
        list.push_back(
            {std::string(row.name) + (row.argument == nullptr ? "" : std::string(" ") + row.argument), row.help});
    }
    return std::string(opening) + "\nCommands:\n" + command_list(in_operation, {}) + "\nIn configuration mode:\n" +
           command_list(in_configure, {}) + "\nOptions:\n" + fields(list, indent) + "\n" + closing;
}

int show_help(Cli *cli, const Call &call)
{
    const std::string text = command_list(cli->mode, call.args);
    if (text.empty()) return fail(*cli, usage_problem("no command begins with '" + call.args.front() + "'"));
    put(*cli, text);
    return exit_ok;
}

} // namespace cli
