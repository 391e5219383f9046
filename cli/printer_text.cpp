#include <cstdio>
#include <ctime>

#include "cli/printer.h"
#include "cli/table.h"
#include "cli/tree_text.h"
#include "protocol/value.h"

namespace cli {

namespace {

using proto::printable;

std::string tree(const Node &root, bool as_set_commands)
{
    const std::string text = as_set_commands ? set_commands(root) : indented_text(root);
    return text.empty() ? "# nothing here\n" : text;
}

std::string pairs(const proto::Pairs &list)
{
    std::vector<Field> out;
    for (const proto::Pair &pair : list.pairs)
        out.push_back({printable(pair.name), pair.value});
    return fields(out, 0);
}

std::string change_line(const proto::Change &change)
{
    std::string line = std::string(1, change.op) + " " + change.path;
    if (!change.before.empty()) line += " " + change.before;
    if (change.op == '~') line += " ->";
    if (!change.after.empty()) line += " " + change.after;
    return printable(line) + "\n";
}

std::string diff(const proto::Diff &record)
{
    std::string out;
    for (const proto::Change &change : record.changes)
        out += change_line(change);
    return out.empty() ? "no changes\n" : out;
}

std::string outcome(const proto::CommitReply &reply, Verb verb, std::uint32_t confirm_seconds)
{
    const std::string txid = " (transaction " + std::to_string(reply.txid) + ")";
    if (verb == Verb::validate) return reply.outcome == proto::Outcome::done ? "valid" : "valid, with warnings";
    if (reply.outcome == proto::Outcome::needs_acceptance) return "not committed: there are warnings";
    if (reply.outcome == proto::Outcome::nothing_to_do) return "nothing to do";
    if (verb == Verb::confirm) return "confirmed" + txid;
    if (verb == Verb::abort) return "taken back" + txid;
    if (confirm_seconds == 0) return "committed" + txid;
    return "committed" + txid + "; taken back in " + std::to_string(confirm_seconds) + " s unless confirmed";
}

std::string commit(const proto::CommitReply &reply, Verb verb, std::uint32_t confirm_seconds)
{
    std::string out;
    for (const proto::Remark &remark : reply.remarks)
        out += "warning: " + printable(remark.path) + (remark.path.empty() ? "" : ": ") + printable(remark.text) + "\n";
    return out + outcome(reply, verb, confirm_seconds) + "\n";
}

std::string rollbacks(const proto::Rollbacks &list)
{
    if (list.entries.empty()) return "(none)\n";
    std::vector<Row> rows;
    for (const proto::RollbackEntry &entry : list.entries) {
        rows.push_back(
            {std::to_string(entry.number), std::to_string(entry.txid), local_time(entry.time), entry.comment});
    }
    return grid(
        {
            {"Number",    true},
            {"Transaction",           true},
            {"Committed"},
            {"Comment"}
    },
        rows);
}

const char *kind_name(std::uint32_t kind)
{
    return kind == proto::watch_traps ? "trap" : kind == proto::watch_commits ? "commit" : "notification";
}

std::string event(const proto::Event &record)
{
    char millis[8];
    std::snprintf(millis, sizeof millis, ".%03d", static_cast<int>(record.time_ms % 1000));
    std::string out = local_time(record.time_ms / 1000) + millis + " " + kind_name(record.kind);
    if (record.name != kind_name(record.kind)) out += " " + printable(record.name);
    out += "\n";
    for (const proto::Pair &pair : record.pairs)
        out += "  " + printable(pair.name) + (pair.value.empty() ? "" : " = " + printable(pair.value)) + "\n";
    return out;
}

std::string done(std::string_view text)
{
    return text.empty() ? "" : std::string(text) + "\n";
}

std::string problem(const Problem &)
{
    return {}; // the line on the error output says it
}

} // namespace

std::string local_time(std::int64_t seconds)
{
    const std::time_t at = seconds;
    std::tm parts{};
    char text[64] = "";
    if (localtime_r(&at, &parts) != nullptr) std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &parts);
    return text;
}

constexpr Printer text_printer = {tree, view_text, pairs, diff, commit, rollbacks, event, done, problem};

} // namespace cli
