#include <algorithm>
#include <unistd.h>

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

constexpr int refresh_ms = 3000; // the counters behind the view move every six seconds

// Over the lines of the picture before, so that what the operator did earlier stays on the screen.
void draw(const Cli &cli, const std::string &picture, std::ptrdiff_t lines_before)
{
    const bool in_place = isatty(fileno(cli.out)) != 0 && !cli.json;
    if (in_place && lines_before > 0) put(cli, "\x1b[" + std::to_string(lines_before) + "A\x1b[J");
    if (!in_place && !cli.json && lines_before > 0) put(cli, "\n");
    put(cli, picture);
    std::fflush(cli.out);
}

// 0 pictures: without end.
bool draw_views(Cli *cli, const Call &call, Problem *why)
{
    std::ptrdiff_t lines = 0;
    for (std::uint32_t drawn = 0; call.options.count == 0 || drawn < call.options.count; drawn++) {
        // POLLHUP, should the agent go away, wakes as well; the next request then says so.
        if (drawn > 0 && wait_for(cli->link.stream.socket.fd, 0, refresh_ms) == Wait::interrupted) return true;
        std::string picture;
        if (!read_view(cli, call, &picture, why)) return false;
        draw(*cli, picture, lines);
        lines = std::count(picture.begin(), picture.end(), '\n');
    }
    return true;
}

int watch_until_interrupt(Cli *cli, const Call &call, bool (*run)(Cli *cli, const Call &call, Problem *why))
{
    Problem why;
    if (!is_interactive(*cli)) catch_interrupts(); // at the prompt they are caught anyway
    const bool ok = run(cli, call, &why);
    const int status = ok || was_interrupted() ? exit_ok : fail(*cli, why);
    forget_interrupt();
    if (!is_interactive(*cli)) release_interrupts();
    return status;
}

bool watch_events(Cli *cli, const Call &call, Problem *why)
{
    std::uint32_t mask = 0;
    return mask_of(call.args, &mask, why) && ask_for_events(cli, mask, why) &&
           print_events(cli, call.options.count, why);
}

} // namespace

int watch_view(Cli *cli, const Call &call)
{
    return watch_until_interrupt(cli, call, draw_views);
}

int watch(Cli *cli, const Call &call)
{
    const int status = watch_until_interrupt(cli, call, watch_events);
    Problem why;
    if (is_alive(cli->link)) ask_for_events(cli, 0, &why);
    return status;
}

} // namespace cli
