// Commands that read.
#include "cli/handlers.h"

namespace cli {

namespace {

Problem nothing_read(const std::vector<Mark> &marks)
{
    const Mark &first = marks.front();
    const std::string more =
        marks.size() == 1 ? "" : " (and " + std::to_string(marks.size() - 1) + " more could not be read)";
    return failed_problem("unreadable", first.text + more, first.path);
}

std::string rendered(const Cli &cli, const Call &call, const Node &root)
{
    const Printer &printer = printer_of(cli);
    const View *view = call.command->view;
    return view != nullptr ? printer.view(*view, root) : printer.tree(root, has(call.options, opt_set));
}

// A part that could not be read is shown in its place; only when there is nothing else did the request fail.
bool read_tree(Cli *cli, const Call &call, const proto::Get &get, std::string *text, Problem *why)
{
    proto::Tree tree;
    Node root;
    if (!request(cli, proto::Op::get, proto::encode(get), name_of(*call.command), &tree, why)) return false;
    if (!plant(tree, &root)) {
        *why = failed_problem("protocol", "the agent's answer does not nest");
        return false;
    }
    const Yield yield = harvest(root);
    if (yield.values == 0 && !yield.marks.empty()) {
        *why = nothing_read(yield.marks);
        return false;
    }
    *text = rendered(*cli, call, root);
    return true;
}

int show_tree(Cli *cli, const Call &call, const proto::Get &get)
{
    std::string text;
    Problem why;
    if (!read_tree(cli, call, get, &text, &why)) return fail(*cli, why);
    put(*cli, text);
    return exit_ok;
}

proto::Get of_view(const Call &call)
{
    proto::Get get{proto::Source::operational, false, {}};
    for (const char *word : call.command->view->path)
        if (word != nullptr) get.path.emplace_back(word);
    get.path.insert(get.path.end(), call.args.begin(), call.args.end());
    return get;
}

} // namespace

int show_configuration(Cli *cli, const Call &call)
{
    return show_tree(cli, call, {proto::Source::running, has(call.options, opt_defaults), call.args});
}

int show_candidate(Cli *cli, const Call &call)
{
    return show_tree(cli, call, {proto::Source::candidate, has(call.options, opt_defaults), call.args});
}

int show_operational(Cli *cli, const Call &call)
{
    return show_tree(cli, call, {proto::Source::operational, false, call.args});
}

int show_view(Cli *cli, const Call &call)
{
    return show_tree(cli, call, of_view(call));
}

bool read_view(Cli *cli, const Call &call, std::string *text, Problem *why)
{
    return read_tree(cli, call, of_view(call), text, why);
}

int show_status(Cli *cli, const Call &)
{
    return print_answer(cli, proto::Op::status, "show status", &Printer::pairs);
}

int list_rollbacks(Cli *cli, const Call &)
{
    return print_answer(cli, proto::Op::rollbacks, "rollback list", &Printer::rollbacks);
}

} // namespace cli
