// What gwcli, gw-snmp and tools say to the agent. See hello.h for encode() and decode().
#ifndef GW_PROTOCOL_CLIENT_H
#define GW_PROTOCOL_CLIENT_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "protocol/pair.h"
#include "protocol/value.h"

namespace proto {

// A path as an operator types it: "interface GigabitEthernet 0/0 ip" as words; or one word that begins with "/", which
// is then a keypath such as "/interface/GigabitEthernet{0/0}/ip".
using Words = std::vector<std::string>;

enum class Source : std::uint8_t { running = 0, candidate = 1, operational = 2 };

struct Get { // get, answered by a Tree
    Source source = Source::running;
    bool with_defaults = false;
    Words path; // empty: everything
};

enum class NodeKind : std::uint8_t {
    container = 1, // opens; closed by end
    entry = 2,     // one list entry, opens; its keys come first inside; closed by end
    leaf = 3,
    item = 4, // one value of a leaf-list
    end = 5,
    error_mark = 6, // what stands here could not be read; text says why
};

struct TreeNode {
    NodeKind kind = NodeKind::leaf;
    bool is_key = false;
    bool is_default = false;
    ValueType type = ValueType::noexists; // of leaf and item, for JSON quoting
    std::string name;                     // local name; "module:name" at the top level
    std::string text;                     // canonical value of leaf and item, reason of error_mark

    bool operator==(const TreeNode &) const = default;
};

struct Tree { // depth-first, from the root: what was asked for comes inside its ancestors, entries with their keys
    std::vector<TreeNode> nodes;
};

struct Edit { // edit: changes the session's candidate
    bool remove = false;
    Words path; // set: the value is the last word (none for a list entry or presence container)
};

struct Load {             // load: into the candidate
    bool replace = false; // else merged
    std::string json;     // RFC 7951
};

struct Change {
    char op = '~'; // '+' created, '-' deleted, '~' modified
    std::string path;
    std::string before; // canonical value, empty where there is none
    std::string after;
};

struct Diff { // answers diff: running against candidate
    std::vector<Change> changes;
};

struct Remark { // a warning: of a validation point (to be accepted), or of a subscriber (for information)
    std::string path;
    std::string text;

    bool operator==(const Remark &) const = default;
};

struct Commit {                        // commit; validate uses `accepted` only
    std::uint32_t confirm_seconds = 0; // 0: at once and for good
    std::string comment;
    std::vector<Remark> accepted;
};

enum class Outcome : std::uint8_t { done = 0, needs_acceptance = 1, nothing_to_do = 2 };

struct CommitReply { // answers commit, validate, confirm, abort_confirmed; a refusal is an Error
    Outcome outcome = Outcome::done;
    std::uint64_t txid = 0;
    std::vector<Remark> remarks;
};

struct Rollback { // rollback: loads numbered configuration into the candidate; 1 is the one before the running
    std::uint32_t number = 0;
};

struct RollbackEntry {
    std::uint32_t number = 0;
    std::uint64_t txid = 0;
    std::int64_t time = 0; // seconds since the epoch, when it was committed
    std::string comment;
};

struct Rollbacks { // answers rollbacks
    std::vector<RollbackEntry> entries;
};

struct Complete {                      // complete: what may stand after `words`, beginning with `partial`
    Source source = Source::candidate; // candidate: configuration only; operational: everything
    bool values = true;                // also values of leaves, not only paths
    Words words;
    std::string partial;
};

struct Candidate {
    std::string word; // empty: a value of the user's choice is expected, `help` says which
    std::string help;
};

struct Candidates { // answers complete
    std::vector<Candidate> list;
};

struct Action {       // action
    std::string name; // of the rpc, e.g. "clear-counters"
};

struct Pairs { // answers status: name and value, in order
    std::vector<Pair> pairs;
};

inline constexpr std::uint32_t watch_notifications = 1;
inline constexpr std::uint32_t watch_traps = 2;
inline constexpr std::uint32_t watch_commits = 4;

struct Watch { // watch; replaces what was watched before, 0 ends it
    std::uint32_t mask = 0;
};

struct Event {                // event
    std::uint32_t kind = 0;   // one of watch_*
    std::int64_t time_ms = 0; // since the epoch
    std::string name;         // of notification or trap; "commit"
    std::vector<Pair> pairs;  // leaves, variable bindings, or changed paths with their new values
};

std::string encode(const Get &record);
bool decode(std::string_view payload, Get *record);
std::string encode(const Tree &record);
bool decode(std::string_view payload, Tree *record);
std::string encode(const Edit &record);
bool decode(std::string_view payload, Edit *record);
std::string encode(const Load &record);
bool decode(std::string_view payload, Load *record);
std::string encode(const Diff &record);
bool decode(std::string_view payload, Diff *record);
std::string encode(const Commit &record);
bool decode(std::string_view payload, Commit *record);
std::string encode(const CommitReply &record);
bool decode(std::string_view payload, CommitReply *record);
std::string encode(const Rollback &record);
bool decode(std::string_view payload, Rollback *record);
std::string encode(const Rollbacks &record);
bool decode(std::string_view payload, Rollbacks *record);
std::string encode(const Complete &record);
bool decode(std::string_view payload, Complete *record);
std::string encode(const Candidates &record);
bool decode(std::string_view payload, Candidates *record);
std::string encode(const Action &record);
bool decode(std::string_view payload, Action *record);
std::string encode(const Pairs &record);
bool decode(std::string_view payload, Pairs *record);
std::string encode(const Watch &record);
bool decode(std::string_view payload, Watch *record);
std::string encode(const Event &record);
bool decode(std::string_view payload, Event *record);

} // namespace proto

#endif
