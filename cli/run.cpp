#include "cli/run.h"

#include <algorithm>
#include <unistd.h>

#include "cli/complete.h"
#include "cli/execute.h"
#include "cli/help.h"
#include "cli/prompt.h"
#include "cli/words.h"

namespace cli {

namespace {

int read_lines(Cli *cli, std::FILE *in)
{
    return isatty(fileno(in)) == 1 ? prompt_for_lines(cli, in) : execute_script(cli, in);
}

int print_help(Cli *cli, const proto::Words &words)
{
    const std::string some = words.empty() ? "" : command_list(in_operation | in_configure, words);
    put(*cli, some.empty() ? whole_help() : some);
    return exit_ok;
}

// `quoted`: they were taken out of the arguments, and what looks like an option now is none.
std::vector<Word> as_words(const std::vector<std::string> &texts, bool quoted)
{
    std::vector<Word> words(texts.size());
    std::transform(texts.begin(), texts.end(), words.begin(), [quoted](const std::string &text) {
        return Word{text, quoted};
    });
    return words;
}

int run_command(Cli *cli, const proto::Words &words, Options options, std::FILE *in)
{
    if (words.empty() || (words.size() == 1 && words[0] == "-")) {
        cli->session.given |= options.given & opt_accept;
        return words.empty() ? read_lines(cli, in) : execute_script(cli, in);
    }
    const int status = execute_words(cli, as_words(words, true), options);
    // "configure" alone: its lines come from the input.
    return cli->mode == in_configure ? read_lines(cli, in) : status;
}

// gwcli --complete LINE, for shells: what may stand at the end of the line, a word per line. Words of an agent that
// does not answer are left out in silence: whatever is printed ends up in the operator's line.
int print_candidates(Cli *cli, const std::string &line)
{
    const Typed typed = split_typed(line);
    Options options;
    proto::Words words;
    std::string why;
    if (!take_options(typed.words, 0, &options, &words, &why)) return exit_failed;
    if (has(options, opt_port)) cli->link.port = options.port;
    if (words.empty() && typed.partial.starts_with("--")) { // they belong to whatever command follows
        for (const OptionRow &row : option_rows())
            if (std::string_view(row.name).starts_with(typed.partial)) put(*cli, std::string(row.name) + "\n");
        return exit_ok;
    }
    for (const proto::Candidate &candidate : complete_line(cli, line).list)
        if (!candidate.word.empty()) put(*cli, proto::printable(candidate.word) + "\n");
    return exit_ok;
}

} // namespace

int run(Cli *cli, const std::vector<std::string> &arguments, std::FILE *in)
{
    if (arguments.size() == 2 && arguments[0] == "--complete") return print_candidates(cli, arguments[1]);
    Options options;
    proto::Words words;
    std::string why;
    const bool understood = take_options(as_words(arguments, false), 0, &options, &words, &why);
    cli->json = has(options, opt_json);
    cli->session.given = options.given & opt_json;
    if (has(options, opt_port)) cli->link.port = options.port;
    int status = exit_ok;
    if (!understood) {
        status = fail(*cli, usage_problem(why));
    } else if (has(options, opt_help)) {
        status = print_help(cli, words);
    } else if (has(options, opt_version)) {
        put(*cli, std::string("gwcli ") + GW_VERSION + "\n");
    } else {
        status = run_command(cli, words, {options.given & ~(opt_json | opt_port), 0, options.count}, in);
    }
    if (std::fflush(cli->out) != 0 || std::ferror(cli->out) != 0)
        status = fail(*cli, failed_problem("output", "the output could not be written"));
    return status;
}

} // namespace cli
