// From the texts and words that name a node to the node, and back.
//
// A keypath is "/interface/GigabitEthernet{0/0}/ip/address/v4/ip": steps are split at "/" outside braces, the keys of
// an entry stand in braces, blanks between them, quoted ("...", \" and \\ inside) or not; [n] is the entry at position
// n from 0. "module:" before a name is optional.
#ifndef GW_AGENT_MODEL_PATHS_H
#define GW_AGENT_MODEL_PATHS_H

#include <cstdint>
#include <string>
#include <vector>

#include "agent/model/models.h"
#include "protocol/client.h"
#include "protocol/hello.h"
#include "protocol/value.h"

struct lyd_node;

namespace model {

struct Step {
    const lysc_node *schema = nullptr;
    std::vector<std::string> keys; // canonical texts, of a list entry; of a leaf-list item its value
    long position = -1;            // [n], instead of keys
};

struct Target {
    std::vector<Step> steps; // outermost first; none: the root
};

const lysc_node *schema_of(const Target &target); // null: the root

struct Base {             // what relative keypaths start from
    std::uint32_t ns = 0; // the root of this namespace, 0 for all; counts while `cd` is the root
    Target cd;
};

// False with *error set when the text names nothing in the models.
bool resolve(const Models &models, const std::string &text, const Base &base, Target *target, std::string *error);

enum class Scope : std::uint8_t { all, configuration };

// An operator's words; a first word that begins with "/" is a keypath. With `value_expected` a word after the path to a
// leaf is its value: *value gets its canonical text, *has_value whether there was one. *error says what is accepted
// where the words stop to fit; the scope says which names those are, operational data is refused by the caller.
bool resolve_words(const Models &models, const proto::Words &words, bool value_expected, Target *target,
                   std::string *value, bool *has_value, proto::Error *error, Scope scope = Scope::all);

// In a tree (its first top-level node, null for empty). find: null when absent, the first instance when the last step
// has no keys. find_all: every instance. exists: also true for a container without presence whose parents exist.
const lyd_node *find(const lyd_node *tree, const Target &target);
std::vector<const lyd_node *> find_all(const lyd_node *tree, const Target &target);
bool exists(const lyd_node *tree, const Target &target);
// The case of this choice that holds data below the target. False: no such choice, or nothing chosen.
bool chosen_case(const Models &models, const lyd_node *tree, const Target &parent, const std::string &choice,
                 const lysc_node **chosen);

// The library's own path with [key='value'] predicates. False: a position, missing keys, or a key that cannot be
// quoted.
bool data_path(const Target &target, std::string *path);

// How paths are shown to people.
std::string keypath_of(const lyd_node *node);
std::string keypath_of(const Target &target);
// The same for a path of the library: "/m:a/l[k='1']/x" is "/a/l{1}/x".
std::string keypath_of_library_path(const std::string &path);

// Innermost element first, with the modules' namespaces. The keys of the lists are outermost first; a list beyond them
// is left without keys, which is how the next key of a list is asked for.
proto::KeyPath wire_path(const Models &models, const lyd_node *node);
proto::KeyPath wire_path(const Models &models, const lysc_node *node,
                         const std::vector<std::vector<proto::Value>> &keys_of_lists);

} // namespace model

#endif
