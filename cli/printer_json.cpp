#include <ctime>

#include "cli/json.h"
#include "cli/printer.h"

namespace cli {

namespace {

std::string line(const std::string &json)
{
    return json + "\n";
}

// 64-bit numbers are strings, as in the trees.
std::string json_txid(std::uint64_t txid)
{
    return json_text("transaction", std::to_string(txid));
}

std::string utc_time(std::int64_t seconds)
{
    const std::time_t at = seconds;
    std::tm parts{};
    char text[64] = "";
    if (gmtime_r(&at, &parts) != nullptr) std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &parts);
    return text;
}

std::string tree(const Node &root, bool)
{
    return line(json_tree(root));
}

std::string view(const View &, const Node &root)
{
    return line(json_tree(root));
}

std::string pairs(const proto::Pairs &list)
{
    std::vector<std::string> members;
    for (const proto::Pair &pair : list.pairs)
        members.push_back(json_text(pair.name, pair.value));
    return line(json_object(members));
}

std::string diff(const proto::Diff &record)
{
    std::vector<std::string> list;
    for (const proto::Change &change : record.changes) {
        const char *op = change.op == '+' ? "create" : change.op == '-' ? "delete" : "modify";
        std::vector<std::string> members = {json_text("op", op), json_text("path", change.path)};
        if (!change.before.empty()) members.push_back(json_text("before", change.before));
        if (!change.after.empty()) members.push_back(json_text("after", change.after));
        list.push_back(json_object(members));
    }
    return line(json_object({json_member("changes", json_array(list))}));
}

std::string commit(const proto::CommitReply &reply, Verb verb, std::uint32_t)
{
    static constexpr const char *outcomes[] = {"done", "needs-acceptance", "nothing-to-do"};
    std::vector<std::string> warnings;
    for (const proto::Remark &remark : reply.remarks)
        warnings.push_back(json_object({json_text("path", remark.path), json_text("text", remark.text)}));
    std::vector<std::string> members = {json_text("outcome", outcomes[static_cast<std::size_t>(reply.outcome) % 3])};
    if (verb != Verb::validate) members.push_back(json_txid(reply.txid));
    members.push_back(json_member("warnings", json_array(warnings)));
    return line(json_object(members));
}

std::string rollbacks(const proto::Rollbacks &list)
{
    std::vector<std::string> entries;
    for (const proto::RollbackEntry &entry : list.entries) {
        entries.push_back(
            json_object({json_member("number", std::to_string(entry.number)), json_txid(entry.txid),
                         json_text("time", utc_time(entry.time) + "Z"), json_text("comment", entry.comment)}));
    }
    return line(json_object({json_member("rollbacks", json_array(entries))}));
}

std::string event(const proto::Event &record)
{
    std::vector<std::string> list;
    for (const proto::Pair &pair : record.pairs)
        list.push_back(json_object({json_text("name", pair.name), json_text("value", pair.value)}));
    const std::string millis = std::to_string(1000 + record.time_ms % 1000).substr(1);
    const char *kind = record.kind == proto::watch_traps     ? "trap"
                       : record.kind == proto::watch_commits ? "commit"
                                                             : "notification";
    return line(
        json_object({json_text("time", utc_time(record.time_ms / 1000) + "." + millis + "Z"), json_text("kind", kind),
                     json_text("name", record.name), json_member("values", json_array(list))}));
}

std::string done(std::string_view)
{
    return line(json_object({json_text("outcome", "done")}));
}

std::string problem(const Problem &record)
{
    return line(problem_json(record));
}

} // namespace

constexpr Printer json_printer = {tree, view, pairs, diff, commit, rollbacks, event, done, problem};

} // namespace cli
