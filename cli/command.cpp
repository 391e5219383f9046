#include "cli/command.h"

#include <algorithm>

#include "cli/handlers.h"

namespace cli {

namespace {

constexpr std::size_t any = 1000; // number of words
constexpr unsigned oper = in_operation;
constexpr unsigned conf = in_configure;
constexpr unsigned both = oper | conf;
constexpr unsigned tree = opt_defaults | opt_set;

using enum Arguments;

// clang-format off
constexpr Command rows[] = {
    {{"show", "configuration"},     oper, config_path, 0, any, "[PATH...]", tree, "Configuration that is running", show_configuration, nullptr},
    {{"show", "interface", "brief"},  oper, view_path, 0, 2, "[TYPE PORT]", 0, "Interfaces: address and state", show_view, &view_interface_brief},
    {{"show", "interface", "detail"}, oper, view_path, 0, 2, "[TYPE PORT]", 0, "Interfaces: state and counters", show_view, &view_interface_detail},
    {{"show", "interface", "table"},  oper, none, 0, 0, "", 0, "Interfaces of the routing table manager", show_view, &view_interface_table},
    {{"show", "ip", "dhcp", "binding"}, oper, none, 0, 0, "", 0, "Leases of the DHCP server", show_view, &view_dhcp_binding},
    {{"show", "ip", "dhcp", "pool"},    oper, none, 0, 0, "", 0, "Use of the DHCP pool", show_view, &view_dhcp_pool},
    {{"show", "ip", "nat"},         oper, none, 0, 0, "", 0, "Port mappings with their hits", show_view, &view_nat},
    {{"show", "operational"},       oper, oper_path, 0, any, "[PATH...]", 0, "Operational data as a tree", show_operational, nullptr},
    {{"show", "snmp", "interfaces"}, oper, none, 0, 0, "", 0, "Interfaces as SNMP managers see them", show_view, &view_snmp_interfaces},
    {{"show", "status"},            oper, none, 0, 0, "", 0, "State of the agent and its peers", show_status, nullptr},
    {{"show", "transceiver"},       oper, none, 0, 0, "", 0, "SFP module: diagnostics and identification", show_view, &view_transceiver},
    {{"clear", "counters"},         oper, none, 0, 0, "", 0, "Clear the interface counters", clear_counters, nullptr},
    {{"watch"},                     oper, Arguments::event_kinds, 0, 3, "[notifications|traps|commits]", opt_count, "Print events as they come, until Ctrl-C", watch, nullptr},
    {{"watch", "interface"},        oper, none, 0, 0, "", opt_count, "Counters and one-minute rates of the interfaces, again and again until Ctrl-C", watch_view, &view_interface_rates},
    {{"configure"},                 oper, lines, 0, any, "[LINE...]", opt_accept, "Enter configuration mode, or execute lines of it", enter_configure, nullptr},
    {{"set"},                       conf, set_path, 1, any, "PATH... [VALUE]", 0, "Change a value or create a list entry", set_value, nullptr},
    {{"delete"},                    conf, config_path, 1, any, "PATH...", 0, "Delete a value, entry or container", delete_path, nullptr},
    {{"show"},                      conf, config_path, 0, any, "[PATH...]", tree, "Candidate: the configuration with the changes", show_candidate, nullptr},
    {{"diff"},                      conf, none, 0, 0, "", 0, "Changes that are not committed yet", show_diff, nullptr},
    {{"validate"},                  conf, none, 0, 0, "", 0, "Check the candidate without committing it", validate, nullptr},
    {{"commit"},                    conf, Arguments::commit_words, 0, 4, "[confirmed SECONDS] [comment TEXT]", opt_accept, "Make the candidate running; confirmed: for SECONDS unless confirmed", commit, nullptr},
    {{"confirm"},                   conf, none, 0, 0, "", 0, "Keep what 'commit confirmed' made running", confirm_commit, nullptr},
    {{"abort"},                     conf, none, 0, 0, "", 0, "Take 'commit confirmed' back at once", abort_commit, nullptr},
    {{"rollback", "list"},          both, none, 0, 0, "", 0, "Configurations that were running before", list_rollbacks, nullptr},
    {{"rollback"},                  conf, rollback_number, 1, 1, "NUMBER", 0, "Load one of them into the candidate", roll_back, nullptr},
    {{"discard"},                   conf, none, 0, 0, "", 0, "Forget the changes", discard, nullptr},
    {{"load"},                      oper, file, 1, 1, "FILE", opt_replace | opt_accept, "Load a JSON file and commit it", load_and_commit, nullptr},
    {{"load"},                      conf, file, 1, 1, "FILE", opt_replace, "Load a JSON file into the candidate", load_candidate, nullptr},
    {{"help"},                      both, Arguments::commands, 0, any, "[COMMAND...]", 0, "This list, or the part that begins with COMMAND", show_help, nullptr},
    {{"exit"},                      both, none, 0, 0, "", 0, "Leave the mode, or the program", leave_mode, nullptr},
    {{"quit"},                      both, none, 0, 0, "", 0, "Leave the program", leave_program, nullptr},
};
// clang-format on

constexpr bool usable()
{
    return std::all_of(std::begin(rows), std::end(rows), [](const Command &row) {
        return row.least <= row.most && (row.most == 0) == (row.usage[0] == '\0') && row.help[0] != '\0';
    });
}
static_assert(usable());

std::size_t words_in(const Command &command)
{
    std::size_t count = 0;
    while (count < name_words && command.name[count] != nullptr)
        count++;
    return count;
}

// Those whose next word is `word` or, when none is, begins with it.
std::vector<const Command *> narrowed(const std::vector<const Command *> &from, std::size_t at, const std::string &word)
{
    std::vector<const Command *> exact;
    std::vector<const Command *> cut;
    for (const Command *command : from) {
        if (at >= words_in(*command)) continue;
        if (word == command->name[at]) exact.push_back(command);
        if (!word.empty() && std::string_view(command->name[at]).starts_with(word)) cut.push_back(command);
    }
    return exact.empty() ? cut : exact;
}

std::string why_none(const Lookup &lookup, const proto::Words &words)
{
    std::string before;
    for (std::size_t i = 0; i < lookup.used; i++)
        before += (i > 0 ? " " : "") + words[i];
    const std::string expected = "; expected " + one_of(next_words(lookup.matching, lookup.used));
    if (lookup.used == words.size()) return "incomplete command '" + before + "'" + expected;
    if (lookup.used == 0) return "unknown command '" + words[0] + "'" + expected;
    return "unknown word '" + words[lookup.used] + "' after '" + before + "'" + expected;
}

} // namespace

std::span<const Command> commands()
{
    return rows;
}

std::string name_of(const Command &command)
{
    std::string name;
    for (std::size_t i = 0; i < words_in(command); i++)
        name += (i > 0 ? " " : "") + std::string(command.name[i]);
    return name;
}

bool is_raw(const Command &command)
{
    return command.run == set_value || command.run == delete_path;
}

Lookup look_up(unsigned mode, const proto::Words &words)
{
    Lookup found;
    for (const Command &row : rows)
        if ((row.modes & mode) != 0) found.matching.push_back(&row);
    while (found.used < words.size()) {
        const std::vector<const Command *> next = narrowed(found.matching, found.used, words[found.used]);
        const std::vector<std::string> names = next_words(next, found.used);
        if (names.empty()) break;
        if (names.size() > 1) {
            found.why = "ambiguous word '" + words[found.used] + "'; may be " + one_of(names);
            return found;
        }
        found.matching = next;
        found.used++;
    }
    for (const Command *command : found.matching)
        if (found.used > 0 && words_in(*command) == found.used) found.command = command;
    if (found.command == nullptr) found.why = why_none(found, words);
    return found;
}

std::vector<std::string> next_words(const std::vector<const Command *> &matching, std::size_t at)
{
    std::vector<std::string> words;
    for (const Command *command : matching) {
        if (at < words_in(*command) && std::find(words.begin(), words.end(), command->name[at]) == words.end())
            words.emplace_back(command->name[at]);
    }
    return words;
}

std::string keyword(std::span<const char *const> list, const std::string &word)
{
    std::string found;
    for (const char *const name : list) {
        if (word.empty() || !std::string_view(name).starts_with(word)) continue;
        if (!found.empty()) return {};
        found = name;
    }
    return found;
}

std::string one_of(const std::vector<std::string> &words)
{
    std::string text;
    for (std::size_t i = 0; i < words.size(); i++)
        text += (i == 0 ? "" : i + 1 == words.size() ? " or " : ", ") + words[i];
    return text;
}

} // namespace cli
