#include "cli/complete.h"

#include <algorithm>
#include <dirent.h>
#include <sys/stat.h>

#include "cli/handlers.h"
#include "cli/table.h"
#include "protocol/value.h"

namespace cli {

namespace {

constexpr int patience_ms = 3000; // the operator waits with a key pressed
constexpr std::size_t indent = 2;

using Candidates = std::vector<proto::Candidate>;

void offer(std::string word, std::string help, const std::string &partial, Candidates *list)
{
    if (word.starts_with(partial)) list->push_back({std::move(word), std::move(help)});
}

template <typename Answer> bool ask_agent(Cli *cli, proto::Op op, const std::string &payload, Answer *answer)
{
    const Timeouts usual = cli->timeouts;
    cli->timeouts = {patience_ms, patience_ms};
    Problem why;
    const bool ok = request(cli, op, payload, "completion", answer, &why);
    cli->timeouts = usual;
    return ok;
}

void offer_path(Cli *cli, proto::Complete question, const proto::Words &args, Candidates *list)
{
    proto::Candidates answer;
    question.words.insert(question.words.end(), args.begin(), args.end());
    if (!ask_agent(cli, proto::Op::complete, proto::encode(question), &answer)) return;
    for (const proto::Candidate &one : answer.list) {
        if (one.word.empty()) {
            list->push_back(one);
        } else {
            offer(one.word, one.help, question.partial, list);
        }
    }
}

void offer_files(const std::string &partial, Candidates *list)
{
    const std::size_t slash = partial.rfind('/');
    const std::string folder = slash == std::string::npos ? "" : partial.substr(0, slash + 1);
    DIR *dir = opendir(folder.empty() ? "." : folder.c_str());
    if (dir == nullptr) return;
    while (const dirent *entry = readdir(dir)) { // NOLINT(concurrency-mt-unsafe): one thread
        if (entry->d_name[0] == '.') continue;
        struct stat info {};
        const std::string path = folder + entry->d_name;
        const bool is_folder = stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
        offer(path + (is_folder ? "/" : ""), is_folder ? "directory" : "file", partial, list);
    }
    closedir(dir);
    std::sort(list->begin(), list->end(), [](const auto &a, const auto &b) { return a.word < b.word; });
}

void offer_rollbacks(Cli *cli, const std::string &partial, Candidates *list)
{
    proto::Rollbacks answer;
    if (!ask_agent(cli, proto::Op::rollbacks, {}, &answer)) return;
    for (const proto::RollbackEntry &entry : answer.entries)
        offer(std::to_string(entry.number), local_time(entry.time) + " " + entry.comment, partial, list);
}

void offer_commit_words(const proto::Words &args, const std::string &partial, Candidates *list)
{
    const std::string last = args.size() % 2 == 0 ? "" : keyword(cli::commit_words, args.back());
    if (last.empty()) {
        offer("confirmed", "Take it back unless 'confirm' is given in time", partial, list);
        offer("comment", "Text for the list of rollbacks", partial, list);
    } else {
        list->push_back({"", last == "comment" ? "TEXT" : "SECONDS"});
    }
}

void offer_names(unsigned mode, const proto::Words &args, const std::string &partial, Candidates *list)
{
    const Lookup found = look_up(mode, args);
    if (found.used != args.size()) return;
    const std::size_t at = args.size();
    for (const std::string &word : next_words(found.matching, at)) {
        std::string help;
        for (const Command *command : found.matching) {
            if (command->name[at] != nullptr && word == command->name[at])
                help = help.empty() ? command->help : "..."; // several commands go on with it
        }
        offer(word, help, partial, list);
    }
}

void offer_arguments(Cli *cli, const Command &command, const proto::Words &args, const std::string &partial,
                     Candidates *list)
{
    if (args.size() >= command.most) return;
    proto::Complete question{proto::Source::candidate, false, {}, partial};
    switch (command.arguments) {
    case Arguments::none:
    case Arguments::lines:
        break;
    case Arguments::commands:
        offer_names(cli->mode, args, partial, list);
        break;
    case Arguments::file:
        offer_files(partial, list);
        break;
    case Arguments::rollback_number:
        offer_rollbacks(cli, partial, list);
        break;
    case Arguments::commit_words:
        offer_commit_words(args, partial, list);
        break;
    case Arguments::event_kinds:
        for (const char *kind : event_kinds)
            offer(kind, "", partial, list);
        break;
    case Arguments::view_path:
        question.words = {command.view->path[0], command.view->path[1]};
        [[fallthrough]];
    case Arguments::oper_path:
        question.source = proto::Source::operational;
        [[fallthrough]];
    case Arguments::config_path:
        offer_path(cli, question, args, list);
        break;
    case Arguments::set_path:
        question.values = true;
        offer_path(cli, question, args, list);
        break;
    }
}

void offer_options(unsigned mask, const std::string &partial, Candidates *list)
{
    for (const OptionRow &row : option_rows())
        if ((row.bit & (mask | opt_json)) != 0) offer(row.name, row.help, partial, list);
}

std::size_t shared_bytes(const Candidates &list)
{
    const std::string &first = list.front().word;
    std::size_t shared = first.size();
    for (const proto::Candidate &one : list) {
        const auto end = std::mismatch(first.begin(), first.begin() + static_cast<std::ptrdiff_t>(shared),
                                       one.word.begin(), one.word.end())
                             .first;
        shared = static_cast<std::size_t>(end - first.begin());
    }
    while (shared > 0 && shared < first.size() && (static_cast<unsigned char>(first[shared]) & 0xc0U) == 0x80U)
        shared--; // not inside a character
    return shared;
}

} // namespace

Completion complete_line(Cli *cli, std::string_view line)
{
    Completion result{split_typed(line), {}};
    const std::string &partial = result.typed.partial;
    const proto::Words texts = texts_of(result.typed.words);
    Lookup found = look_up(cli->mode, texts);
    proto::Words words = texts;
    if (found.command == nullptr || !is_raw(*found.command)) {
        Options options;
        std::string why;
        words.clear();
        if (!take_options(result.typed.words, 0, &options, &words, &why)) return result;
        found = look_up(cli->mode, words);
    }
    const bool raw = found.command != nullptr && is_raw(*found.command);
    if (!raw && partial.starts_with("--")) {
        if (found.command != nullptr) offer_options(found.command->options, partial, &result.list);
        return result;
    }
    if (found.used == words.size()) offer_names(cli->mode, words, partial, &result.list);
    if (found.command == nullptr) return result;
    const proto::Words args(words.begin() + static_cast<std::ptrdiff_t>(found.used), words.end());
    offer_arguments(cli, *found.command, args, partial, &result.list);
    return result;
}

std::string insertion(const Completion &completion)
{
    if (completion.list.empty()) return {};
    const std::string &first = completion.list.front().word;
    const std::size_t shared = shared_bytes(completion.list);
    if (completion.list.size() == 1 && !first.empty())
        return quote_word(first) + (first.ends_with('/') ? "" : " "); // a folder goes on
    if (shared <= completion.typed.partial.size()) return {};
    std::string word = quote_word(first.substr(0, shared));
    if (word.ends_with('"')) word.pop_back(); // still being typed
    return word;
}

std::string candidate_list(const Completion &completion)
{
    std::vector<Field> list;
    for (const proto::Candidate &one : completion.list)
        list.push_back({one.word.empty() ? "<value>" : quote_word(proto::printable(one.word)), one.help});
    return fields(list, indent);
}

} // namespace cli
