#include "cli/handlers.h"
#include "cli/signals.h"

namespace cli {

namespace {

bool mask_of(const proto::Words &kinds, std::uint32_t *mask, Problem *why)
{
    for (const std::string &word : kinds) {
        const std::string kind = keyword(event_kinds, word);
        for (unsigned i = 0; i < std::size(event_kinds); i++)
            if (kind == event_kinds[i]) *mask |= 1U << i;
        if (!kind.empty()) continue;
        *why = usage_problem("watch: '" + word + "' is no kind of event; expected " +
                             one_of({std::begin(event_kinds), std::end(event_kinds)}));
        return false;
    }
    if (*mask == 0) *mask = proto::watch_notifications | proto::watch_traps | proto::watch_commits;
    return true;
}

bool ask_for_events(Cli *cli, std::uint32_t mask, Problem *why)
{
    std::string nothing;
    return request(cli, proto::Op::watch, proto::encode(proto::Watch{mask}), "watch", &nothing, why);
}

// 0 events: without end.
bool print_events(Cli *cli, std::uint32_t count, Problem *why)
{
    for (std::uint32_t printed = 0; count == 0 || printed < count; printed++) {
        proto::Event event;
        if (!next_event(&cli->link, &event, why)) return false;
        put(*cli, printer_of(*cli).event(event));
        std::fflush(cli->out);
    }
    return true;
}

} // namespace

int watch(Cli *cli, const Call &call)
{
    std::uint32_t mask = 0;
    Problem why;
    if (!mask_of(call.args, &mask, &why)) return fail(*cli, why);
    if (!is_interactive(*cli)) catch_interrupts(); // at the prompt they are caught anyway
    const bool ok = ask_for_events(cli, mask, &why) && print_events(cli, call.options.count, &why);
    // Ctrl-C is how it ends.
    const int status = ok || was_interrupted() ? exit_ok : fail(*cli, why);
    forget_interrupt();
    if (!is_interactive(*cli)) release_interrupts();
    if (is_alive(cli->link)) ask_for_events(cli, 0, &why);
    return status;
}

} // namespace cli
