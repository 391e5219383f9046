#include "cli/execute.h"

#include <cstdlib>

#include "cli/handlers.h"

namespace cli {

namespace {

constexpr unsigned anywhere = opt_json;

int refuse(Cli *cli, std::string text)
{
    return fail(*cli, usage_problem(std::move(text)));
}

std::string usage_of(const Command &command)
{
    const std::string name = name_of(command);
    return "usage: " + name + (command.usage[0] == '\0' ? "" : " ") + command.usage;
}

int dispatch(Cli *cli, const Lookup &found, const proto::Words &words, const Options &options)
{
    if (found.command == nullptr) return refuse(cli, found.why);
    const Command &command = *found.command;
    Call call{
        &command, {words.begin() + static_cast<std::ptrdiff_t>(found.used), words.end()},
         options
    };
    const unsigned foreign = options.given & ~(command.options | anywhere);
    if (foreign != 0) return refuse(cli, "'" + name_of(command) + "' takes no option " + first_of(foreign));
    if (call.args.size() < command.least || call.args.size() > command.most) {
        const bool more = call.args.size() > command.most;
        return refuse(cli, (more ? "unexpected '" + call.args[command.most] + "'; " : "") + usage_of(command));
    }
    call.options.given |= cli->session.given & (command.options | anywhere);
    const bool json = cli->json;
    cli->json = has(call.options, opt_json);
    const int status = command.run(cli, call);
    cli->json = json;
    return status;
}

// Runs one line of many; true while the next may follow.
bool run_numbered(Cli *cli, std::size_t number, const std::string &line, int *status)
{
    const std::string prefix = cli->prefix;
    cli->prefix += "line " + std::to_string(number) + ": ";
    *status = execute_line(cli, line);
    cli->prefix = prefix;
    return *status == exit_ok && !cli->leave;
}

} // namespace

int execute_words(Cli *cli, const std::vector<Word> &words, const Options &taken)
{
    const proto::Words texts = texts_of(words);
    const Lookup raw = look_up(cli->mode, texts);
    if (raw.command != nullptr && is_raw(*raw.command)) return dispatch(cli, raw, texts, taken);
    Options options = taken;
    proto::Words rest;
    std::string why;
    if (!take_options(words, 0, &options, &rest, &why)) return refuse(cli, why);
    if (rest.empty()) return refuse(cli, "a command is missing; 'help' lists them");
    return dispatch(cli, look_up(cli->mode, rest), rest, options);
}

int execute_line(Cli *cli, std::string_view line)
{
    std::vector<Word> words;
    std::string why;
    if (!split_line(line, &words, &why)) return refuse(cli, why);
    if (words.empty()) return exit_ok;
    return execute_words(cli, words, {});
}

int execute_lines(Cli *cli, const std::vector<std::string> &lines)
{
    int status = exit_ok;
    for (std::size_t i = 0; i < lines.size(); i++)
        if (!run_numbered(cli, i + 1, lines[i], &status)) break;
    return status;
}

int execute_script(Cli *cli, std::FILE *in)
{
    int status = exit_ok;
    char *line = nullptr;
    std::size_t room = 0;
    for (std::size_t number = 1; getline(&line, &room, in) >= 0; number++)
        if (!run_numbered(cli, number, line, &status)) break;
    std::free(line);
    drop_candidate(cli, status);
    return status;
}

} // namespace cli
