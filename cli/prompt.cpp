#include "cli/prompt.h"

#include <clocale>
#include <cstdlib>
#include <histedit.h>
#include <memory>

#include "cli/complete.h"
#include "cli/execute.h"
#include "cli/signals.h"
#include "cli/table.h"

namespace cli {

namespace {

constexpr int history_lines = 500;
constexpr const char *history_name = "/.gwcli_history";

struct EditDelete {
    void operator()(EditLine *edit) const { el_end(edit); }
};
struct HistoryDelete {
    void operator()(History *history) const { history_end(history); }
};

struct Terminal {
    Cli *cli = nullptr;
    std::unique_ptr<EditLine, EditDelete> edit;
    std::unique_ptr<History, HistoryDelete> history;
    std::string prompt;
    bool asking = false;    // a question is open: no completion
    bool cancelled = false; // the line ended with Ctrl-C
    bool ended = false;     // the input is at its end
};

Terminal *terminal_of(EditLine *edit)
{
    void *data = nullptr;
    el_get(edit, EL_CLIENTDATA, &data);
    return static_cast<Terminal *>(data);
}

char *show_prompt(EditLine *edit)
{
    return terminal_of(edit)->prompt.data();
}

std::string_view typed_text(EditLine *edit)
{
    const LineInfo *line = el_line(edit);
    return {line->buffer, static_cast<std::size_t>(line->cursor - line->buffer)};
}

// Puts `text` in place of what follows `from` in the line up to the cursor.
void replace_word(EditLine *edit, std::size_t from, const std::string &text)
{
    const std::size_t characters = display_width(typed_text(edit).substr(from));
    el_deletestr(edit, static_cast<int>(characters));
    el_insertstr(edit, text.c_str());
}

unsigned char list_candidates(Terminal *terminal, const Completion &completion)
{
    put(*terminal->cli, "\n" + candidate_list(completion));
    std::fflush(terminal->cli->out);
    return CC_REDISPLAY;
}

unsigned char complete_word(EditLine *edit, int)
{
    Terminal *terminal = terminal_of(edit);
    if (terminal->asking) return CC_REFRESH_BEEP;
    const Completion completion = complete_line(terminal->cli, typed_text(edit));
    const std::string text = insertion(completion);
    if (!text.empty()) {
        replace_word(edit, completion.typed.partial_at, text);
        return CC_REFRESH;
    }
    return completion.list.empty() ? CC_REFRESH_BEEP : list_candidates(terminal, completion);
}

unsigned char show_candidates(EditLine *edit, int key)
{
    Terminal *terminal = terminal_of(edit);
    const char text[] = {static_cast<char>(key), '\0'};
    if (terminal->asking || split_typed(typed_text(edit)).open_quote)
        return el_insertstr(edit, text) == 0 ? CC_REFRESH : CC_ERROR;
    const Completion completion = complete_line(terminal->cli, typed_text(edit));
    return completion.list.empty() ? CC_REFRESH_BEEP : list_candidates(terminal, completion);
}

unsigned char cancel_line(EditLine *edit, int)
{
    terminal_of(edit)->cancelled = true;
    return CC_NEWLINE;
}

// False without a line: see terminal->cancelled and ->ended.
bool read_line(Terminal *terminal, std::string *line)
{
    int length = 0;
    terminal->cancelled = false;
    el_resize(terminal->edit.get());
    el_set(terminal->edit.get(), EL_PREP_TERM, 1); // before the prompt shows, so that what is typed then is edited
    const char *text = el_gets(terminal->edit.get(), &length);
    if (terminal->cancelled) put(*terminal->cli, "\n");
    if (terminal->cancelled) return false;
    terminal->ended = text == nullptr || length <= 0;
    if (terminal->ended) return false;
    line->assign(text, static_cast<std::size_t>(length));
    while (line->ends_with('\n') || line->ends_with('\r'))
        line->pop_back();
    return true;
}

bool ask(void *context, const std::string &question, std::string *answer)
{
    auto *terminal = static_cast<Terminal *>(context);
    std::fflush(terminal->cli->out);
    terminal->prompt = question;
    terminal->asking = true;
    const bool answered = read_line(terminal, answer);
    terminal->asking = false;
    return answered;
}

std::string history_path()
{
    const char *home = std::getenv("HOME"); // NOLINT(concurrency-mt-unsafe): one thread
    return home == nullptr ? "" : std::string(home) + history_name;
}

void open_terminal(Terminal *terminal, std::FILE *in)
{
    Cli *cli = terminal->cli;
    HistEvent event;
    terminal->history.reset(history_init());
    history(terminal->history.get(), &event, H_SETSIZE, history_lines);
    history(terminal->history.get(), &event, H_SETUNIQUE, 1);
    history(terminal->history.get(), &event, H_LOAD, history_path().c_str());
    terminal->edit.reset(el_init("gwcli", in, cli->out, cli->err));
    EditLine *edit = terminal->edit.get();
    el_set(edit, EL_CLIENTDATA, terminal);
    el_set(edit, EL_PROMPT, show_prompt);
    el_set(edit, EL_EDITOR, "emacs");
    el_set(edit, EL_HIST, history, terminal->history.get());
    // The narrow call would copy the names for good.
    el_wset(edit, EL_ADDFN, L"gw-complete", L"complete the word", complete_word);
    el_wset(edit, EL_ADDFN, L"gw-candidates", L"show what may stand here", show_candidates);
    el_wset(edit, EL_ADDFN, L"gw-cancel", L"cancel the line", cancel_line);
    el_set(edit, EL_BIND, "^I", "gw-complete", nullptr);
    el_set(edit, EL_BIND, "?", "gw-candidates", nullptr);
    // While a line is edited Ctrl-C is a key; while a command runs it is the signal.
    el_set(edit, EL_SETTY, "-d", "-isig", nullptr);
    el_set(edit, EL_BIND, "^C", "gw-cancel", nullptr);
}

void run_line(Terminal *terminal, const std::string &line)
{
    HistEvent event;
    if (line.find_first_not_of(" \t") != std::string::npos)
        history(terminal->history.get(), &event, H_ENTER, line.c_str());
    forget_interrupt();
    execute_line(terminal->cli, line);
    forget_interrupt(); // completion waits for the agent too
    std::fflush(terminal->cli->out);
}

std::string prompt_text(const Cli &cli)
{
    if (cli.mode == in_operation) return "gw> ";
    return cli.candidate_changed ? "gw(config*)# " : "gw(config)# ";
}

} // namespace

int prompt_for_lines(Cli *cli, std::FILE *in)
{
    if (std::setlocale(LC_CTYPE, "") == nullptr || MB_CUR_MAX == 1) std::setlocale(LC_CTYPE, "C.UTF-8");
    Terminal terminal;
    terminal.cli = cli;
    open_terminal(&terminal, in);
    cli->ask = ask;
    cli->ask_context = &terminal;
    catch_interrupts();
    while (!cli->leave) {
        std::string line;
        terminal.prompt = prompt_text(*cli);
        if (read_line(&terminal, &line)) {
            run_line(&terminal, line);
        } else if (terminal.ended) {
            put(*cli, "\n");
            terminal.ended = false;
            execute_line(cli, "exit");
            if (terminal.ended) break; // the question whether to leave had no answer either
        }
    }
    release_interrupts();
    HistEvent event;
    history(terminal.history.get(), &event, H_SAVE, history_path().c_str());
    cli->ask = nullptr;
    return exit_ok;
}

} // namespace cli
