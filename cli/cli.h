// One run of gwcli: its streams, its connection and what the operator set for it.
#ifndef GW_CLI_CLI_H
#define GW_CLI_CLI_H

#include <cstdio>
#include <string>

#include "cli/link.h"
#include "cli/options.h"
#include "cli/printer.h"
#include "cli/problem.h"
#include "protocol/hello.h"

namespace cli {

inline constexpr unsigned in_operation = 1; // modes, also as a mask in the command table
inline constexpr unsigned in_configure = 2;

struct Timeouts {
    int read_ms = 35'000;    // the agent cuts a read short after 30 s and says so
    int commit_ms = 150'000; // handlers of a commit may be slow
};

// Asks the operator; false when there is no answer (end of input, Ctrl-C).
using Ask = bool (*)(void *context, const std::string &question, std::string *answer);

struct Cli {
    std::FILE *out = stdout;
    std::FILE *err = stderr;
    Timeouts timeouts;
    Link link;
    unsigned mode = in_operation;
    Options session;                // given on the command line, for every line
    bool json = false;              // of the command that runs
    bool candidate_changed = false; // since the last commit or discard
    bool leave = false;             // the session is to end
    std::string prefix = "gwcli: "; // of messages on err
    Ask ask = nullptr;              // null: nobody to ask
    void *ask_context = nullptr;
};

bool is_interactive(const Cli &cli);
const Printer &printer_of(const Cli &cli);

void put(const Cli &cli, const std::string &text);
// A line for people on err, whatever the output is.
void note(const Cli &cli, const std::string &text);
// Reports the problem; gives its exit status.
int fail(const Cli &cli, const Problem &problem);

// True for "y" or "yes"; false when nobody can be asked.
bool confirmed(const Cli &cli, const std::string &question);

// Connects if there is no connection. In a script a connection that went away stays away.
bool connect_agent(Cli *cli, Problem *why);

// One request. `what` is for messages.
bool request(Cli *cli, proto::Op op, const std::string &payload, std::string_view what, std::string *answer,
             Problem *why);

template <typename Answer>
bool request(Cli *cli, proto::Op op, const std::string &payload, std::string_view what, Answer *answer, Problem *why)
{
    std::string bytes;
    if (!request(cli, op, payload, what, &bytes, why)) return false;
    if (proto::decode(bytes, answer)) return true;
    *why = failed_problem("protocol", "the agent's answer cannot be read", std::string(what));
    return false;
}

// Asks for something that takes no words and prints it. Gives the exit status.
template <typename Answer>
int print_answer(Cli *cli, proto::Op op, std::string_view what, std::string (*Printer::*render)(const Answer &))
{
    Answer answer;
    Problem why;
    if (!request(cli, op, {}, what, &answer, &why)) return fail(*cli, why);
    put(*cli, (printer_of(*cli).*render)(answer));
    return exit_ok;
}

} // namespace cli

#endif
