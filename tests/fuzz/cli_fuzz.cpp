// Lines that an operator types, and what an agent may answer to them: words, options, completion, commands, and
// everything that is printed. Nothing that comes from outside reaches the terminal as a control character.
//
// An input is MODE, a byte whose bits are below, LENGTH (two bytes) and that much of lines, then the agent's answers,
// each with its LENGTH.
#include "cli/complete.h"
#include "cli/execute.h"
#include "cli/link.h"
#include "cli/signals.h"
#include "protocol/wire.h"
#include "target.h"

namespace cli {

namespace {

proto::Reader answers;

std::string next_answer()
{
    const std::size_t length = proto::get_u16(answers);
    std::string bytes(answers.at, std::min<std::size_t>(length, answers.end - answers.at));
    answers.at += bytes.size();
    return bytes;
}

} // namespace

// In place of the connection.
bool is_open(const Link & /*link*/)
{
    return answers.ok;
}
bool is_alive(const Link & /*link*/)
{
    return answers.ok;
}
void close_link(Link * /*link*/) {}
bool open_link(Link * /*link*/, Problem *why)
{
    *why = failed_problem("unreachable", "no agent");
    return answers.ok;
}
bool exchange(Link * /*link*/, const Question & /*question*/, std::string *answer, Problem *why)
{
    *answer = next_answer();
    *why = failed_problem("lost", *answer);
    return answers.ok;
}
bool next_event(Link * /*link*/, proto::Event *event, Problem *why)
{
    *why = failed_problem("lost", "no more");
    return proto::decode(next_answer(), event);
}

} // namespace cli

// Nothing is waited for.
extern "C" cli::Wait __wrap__ZN3cli8wait_forEisi(int /*fd*/, short /*events*/, int /*timeout_ms*/)
{
    return cli::Wait::interrupted;
}

namespace {

constexpr unsigned configures = 1;
constexpr unsigned as_json = 2;
constexpr unsigned completes = 4;

void check_words(const std::string &line)
{
    std::vector<cli::Word> words;
    std::string why;
    cli::split_typed(line);
    if (!cli::split_line(line, &words, &why) || words.empty()) return;
    std::string again;
    for (const cli::Word &word : words)
        again += cli::quote_word(word.text) + " ";
    std::vector<cli::Word> back;
    require(cli::split_line(again, &back, &why) && cli::texts_of(back) == cli::texts_of(words));
}

void complete(cli::Cli *cli, const std::string &line)
{
    if (line.find("load") != std::string::npos) return; // would look into the folders of this machine
    const cli::Completion completion = cli::complete_line(cli, line);
    cli::put(*cli, cli::candidate_list(completion));
    require(cli::insertion(completion).find('\0') == std::string::npos);
}

} // namespace

void check(std::string_view input)
{
    cli::answers = proto::make_reader(input);
    const unsigned mode = proto::get_u8(cli::answers);
    std::istringstream lines(cli::next_answer());
    char *text = nullptr;
    std::size_t size = 0;
    cli::Cli cli;
    cli.out = cli.err = open_memstream(&text, &size);
    cli.mode = (mode & configures) != 0 ? cli::in_configure : cli::in_operation;
    if ((mode & as_json) != 0) cli.session.given = cli::opt_json;
    for (std::string line; std::getline(lines, line);) {
        check_words(line);
        if ((mode & completes) != 0) {
            complete(&cli, line);
        } else {
            cli::execute_line(&cli, line);
        }
    }
    fclose(cli.out);
    require(std::none_of(text, text + size, [](unsigned char c) { return (c < 0x20 && c != '\n') || c == 0x7f; }));
    free(text);
}
