// Commands of configuration mode.
#include <cerrno>
#include <charconv>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

#include "cli/handlers.h"
#include "service/descriptor.h"

namespace cli {

namespace {

constexpr int most_rounds = 16; // of warnings; each commit may bring new ones

// A request whose answer says nothing.
int simple(Cli *cli, proto::Op op, const std::string &payload, const Call &call, std::string_view said)
{
    std::string nothing;
    Problem why;
    if (!request(cli, op, payload, name_of(*call.command), &nothing, &why)) return fail(*cli, why);
    put(*cli, printer_of(*cli).done(said));
    return exit_ok;
}

// One that changes the candidate. Only a person needs to be told what is next.
int change(Cli *cli, proto::Op op, const std::string &payload, const Call &call, std::string_view said)
{
    const int status = simple(cli, op, payload, call, is_interactive(*cli) ? said : "");
    if (status == exit_ok) cli->candidate_changed = true;
    return status;
}

bool read_number(const std::string &text, std::uint32_t least, std::uint32_t *out)
{
    const auto [end, fault] = std::from_chars(text.data(), text.data() + text.size(), *out);
    return fault == std::errc{} && end == text.data() + text.size() && *out >= least;
}

bool commit_request(const proto::Words &args, proto::Commit *commit, Problem *why)
{
    for (std::size_t i = 0; i < args.size(); i += 2) {
        const std::string word = keyword(cli::commit_words, args[i]);
        const std::string value = i + 1 < args.size() ? args[i + 1] : "";
        if (word == "confirmed" && read_number(value, 1, &commit->confirm_seconds)) continue;
        if (word == "comment" && !value.empty()) {
            commit->comment = value;
            continue;
        }
        const bool known = !word.empty();
        *why = usage_problem("commit: " + (known ? word + " takes " : "unknown word '" + args[i] + "'; expected ") +
                             (!known              ? one_of({std::begin(cli::commit_words), std::end(cli::commit_words)})
                              : word == "comment" ? "a text"
                                                  : "a number of seconds from 1"));
        return false;
    }
    return true;
}

// Programs and people get the list of warnings on the output, and the first of them with the refusal.
int not_accepted(Cli *cli, const proto::CommitReply &reply)
{
    const proto::Remark first = reply.remarks.empty() ? proto::Remark{} : reply.remarks.front();
    put(*cli, printer_of(*cli).commit(reply, Verb::commit, 0));
    note(*cli,
         problem_text(failed_problem("warnings", first.text + "; not committed, --accept-warnings would", first.path)));
    return exit_failed;
}

bool accepts(Cli *cli, const Call &call, const proto::CommitReply &reply)
{
    if (has(call.options, opt_accept)) return true;
    if (!is_interactive(*cli)) return false;
    put(*cli, printer_of(*cli).commit(reply, Verb::commit, 0));
    return confirmed(*cli, "Commit anyway?");
}

int run_commit(Cli *cli, const Call &call, proto::Commit commit)
{
    proto::CommitReply reply;
    for (int round = 0; round < most_rounds; round++) {
        Problem why;
        reply = {};
        if (!request(cli, proto::Op::commit, proto::encode(commit), name_of(*call.command), &reply, &why))
            return fail(*cli, why);
        if (reply.outcome != proto::Outcome::needs_acceptance) {
            cli->candidate_changed = false;
            if (has(call.options, opt_accept)) // not shown yet
                reply.remarks.insert(reply.remarks.begin(), commit.accepted.begin(), commit.accepted.end());
            put(*cli, printer_of(*cli).commit(reply, Verb::commit, commit.confirm_seconds));
            return exit_ok;
        }
        if (!accepts(cli, call, reply)) break;
        commit.accepted.insert(commit.accepted.end(), reply.remarks.begin(), reply.remarks.end());
    }
    if (!is_interactive(*cli)) return not_accepted(cli, reply);
    return exit_failed;
}

// confirm and abort; validate, which takes an empty Commit.
int settle(Cli *cli, proto::Op op, const std::string &payload, const Call &call, Verb verb)
{
    proto::CommitReply reply;
    Problem why;
    if (!request(cli, op, payload, name_of(*call.command), &reply, &why)) return fail(*cli, why);
    put(*cli, printer_of(*cli).commit(reply, verb, 0));
    return exit_ok;
}

bool read_file(const std::string &path, std::string *text, Problem *why)
{
    const service::Descriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC));
    ssize_t got = file.fd < 0 ? -1 : 1;
    while (got > 0 && text->size() <= proto::max_frame) {
        char buffer[8192];
        got = read(file.fd, buffer, sizeof buffer);
        if (got > 0) text->append(buffer, static_cast<std::size_t>(got));
    }
    if (got < 0) *why = failed_problem("file", std::strerror(errno), path);
    return got >= 0;
}

} // namespace

int set_value(Cli *cli, const Call &call)
{
    return change(cli, proto::Op::edit, proto::encode(proto::Edit{false, call.args}), call, "");
}

int delete_path(Cli *cli, const Call &call)
{
    return change(cli, proto::Op::edit, proto::encode(proto::Edit{true, call.args}), call, "");
}

int show_diff(Cli *cli, const Call &)
{
    return print_answer(cli, proto::Op::diff, "diff", &Printer::diff);
}

int validate(Cli *cli, const Call &call)
{
    return settle(cli, proto::Op::validate, proto::encode(proto::Commit{}), call, Verb::validate);
}

int commit(Cli *cli, const Call &call)
{
    proto::Commit record;
    Problem why;
    if (!commit_request(call.args, &record, &why)) return fail(*cli, why);
    return run_commit(cli, call, std::move(record));
}

int confirm_commit(Cli *cli, const Call &call)
{
    return settle(cli, proto::Op::confirm, {}, call, Verb::confirm);
}

int abort_commit(Cli *cli, const Call &call)
{
    return settle(cli, proto::Op::abort_confirmed, {}, call, Verb::abort);
}

int roll_back(Cli *cli, const Call &call)
{
    proto::Rollback rollback;
    if (!read_number(call.args[0], 1, &rollback.number))
        return fail(*cli, usage_problem("rollback takes a number from 1, see 'rollback list'"));
    return change(cli, proto::Op::rollback, proto::encode(rollback), call, "loaded; 'commit' makes it running");
}

int discard(Cli *cli, const Call &call)
{
    const int status = simple(cli, proto::Op::discard, {}, call, is_interactive(*cli) ? "changes discarded" : "");
    if (status == exit_ok) cli->candidate_changed = false;
    return status;
}

int load_candidate(Cli *cli, const Call &call)
{
    proto::Load load{has(call.options, opt_replace), {}};
    Problem why;
    if (!read_file(call.args[0], &load.json, &why)) return fail(*cli, why);
    return change(cli, proto::Op::load, proto::encode(load), call, "loaded; 'commit' makes it running");
}

int load_and_commit(Cli *cli, const Call &call)
{
    proto::Load load{has(call.options, opt_replace), {}};
    proto::Commit record;
    record.comment = "load " + call.args[0];
    std::string nothing;
    Problem why;
    if (!read_file(call.args[0], &load.json, &why)) return fail(*cli, why);
    if (!request(cli, proto::Op::load, proto::encode(load), "load", &nothing, &why)) return fail(*cli, why);
    const int status = run_commit(cli, call, std::move(record));
    // What could not be committed must not wait for the next one.
    if (status != exit_ok && is_alive(cli->link)) request(cli, proto::Op::discard, {}, "load", &nothing, &why);
    return status;
}

} // namespace cli
