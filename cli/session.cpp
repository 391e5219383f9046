// Commands about the session itself.
#include "cli/execute.h"
#include "cli/handlers.h"

namespace cli {

namespace {

bool has_changes(Cli *cli)
{
    proto::Diff diff;
    Problem why;
    return cli->candidate_changed && is_alive(cli->link) && request(cli, proto::Op::diff, {}, "diff", &diff, &why) &&
           !diff.changes.empty();
}

bool may_leave(Cli *cli)
{
    if (!is_interactive(*cli) || !has_changes(cli)) return true;
    return confirmed(*cli, "There are uncommitted changes. Leave and discard them?");
}

} // namespace

void drop_candidate(Cli *cli, int status)
{
    if (!cli->candidate_changed) return;
    if (!is_interactive(*cli) && status == exit_ok) note(*cli, "changes that were not committed are discarded");
    cli->candidate_changed = false;
    std::string nothing;
    Problem why;
    if (is_alive(cli->link)) request(cli, proto::Op::discard, {}, "discard", &nothing, &why);
}

int clear_counters(Cli *cli, const Call &)
{
    std::string nothing;
    Problem why;
    if (!request(cli, proto::Op::action, proto::encode(proto::Action{"clear-counters"}), "clear counters", &nothing,
                 &why))
        return fail(*cli, why);
    put(*cli, printer_of(*cli).done("counters cleared"));
    return exit_ok;
}

int enter_configure(Cli *cli, const Call &call)
{
    cli->mode = in_configure;
    if (call.args.empty()) return exit_ok;
    const Options session = cli->session;
    cli->session.given |= call.options.given;
    const int status = execute_lines(cli, call.args);
    cli->session = session;
    cli->mode = in_operation;
    drop_candidate(cli, status);
    return status;
}

int leave_mode(Cli *cli, const Call &call)
{
    if (cli->mode == in_operation) return leave_program(cli, call);
    if (!may_leave(cli)) return exit_ok;
    drop_candidate(cli, exit_ok);
    cli->mode = in_operation;
    return exit_ok;
}

int leave_program(Cli *cli, const Call &)
{
    if (!may_leave(cli)) return exit_ok;
    drop_candidate(cli, exit_ok);
    cli->leave = true;
    return exit_ok;
}

} // namespace cli
