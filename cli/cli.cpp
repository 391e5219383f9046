#include "cli/cli.h"

#include "protocol/value.h"

namespace cli {

namespace {

// Requests that wait for handlers of the applications, one after the other.
bool is_slow(proto::Op op)
{
    switch (op) {
    case proto::Op::commit:
    case proto::Op::confirm:
    case proto::Op::abort_confirmed:
    case proto::Op::validate:
    case proto::Op::action:
        return true;
    default:
        return false;
    }
}

} // namespace

bool is_interactive(const Cli &cli)
{
    return cli.ask != nullptr;
}

const Printer &printer_of(const Cli &cli)
{
    return cli.json ? json_printer : text_printer;
}

void put(const Cli &cli, const std::string &text)
{
    std::fwrite(text.data(), 1, text.size(), cli.out);
}

void note(const Cli &cli, const std::string &text)
{
    std::fflush(cli.out);
    std::fprintf(cli.err, "%s%s\n", cli.prefix.c_str(), text.c_str());
}

int fail(const Cli &cli, const Problem &problem)
{
    put(cli, printer_of(cli).problem(problem));
    note(cli, problem_text(problem));
    return problem.status;
}

bool confirmed(const Cli &cli, const std::string &question)
{
    std::string answer;
    return is_interactive(cli) && cli.ask(cli.ask_context, question + " [y/N] ", &answer) &&
           (answer == "y" || answer == "Y" || answer == "yes");
}

bool connect_agent(Cli *cli, Problem *why)
{
    const bool had = cli->link.stream.last_id != 0;
    if (is_alive(cli->link)) return true;
    close_link(&cli->link);
    if (had && !is_interactive(*cli)) {
        *why = failed_problem("lost", "lost the agent at 127.0.0.1:" + std::to_string(cli->link.port) +
                                          (cli->candidate_changed ? " and with it the uncommitted changes" : ""));
        return false;
    }
    if (!open_link(&cli->link, why)) return false;
    if (cli->candidate_changed) note(*cli, "the connection to the agent was lost, and with it the uncommitted changes");
    cli->candidate_changed = false;
    return true;
}

bool request(Cli *cli, proto::Op op, const std::string &payload, std::string_view what, std::string *answer,
             Problem *why)
{
    if (!connect_agent(cli, why)) return false;
    const int timeout = is_slow(op) ? cli->timeouts.commit_ms : cli->timeouts.read_ms;
    return exchange(&cli->link, {op, payload, what, timeout}, answer, why);
}

} // namespace cli
