// Paths as operators type them, word by word.
#include "agent/model/paths.h"

#include <libyang/libyang.h>

#include "agent/model/values.h"

namespace model {

namespace {

constexpr std::size_t most_names = 24; // in one error text

struct Reading {
    const Models &models;
    const proto::Words &words;
    std::size_t next;
    Target *target;
    proto::Error *error;
    Scope scope;
};

bool refuse(const Reading &at, proto::ErrorCode code, const std::string &text)
{
    *at.error = {code, keypath_of(*at.target), text};
    return false;
}

std::string child_names(const Models &models, const lysc_node *parent, Scope scope)
{
    std::string names;
    std::size_t count = 0;
    for (const lysc_node *node : children(models, parent)) {
        if (lysc_is_key(node) || (scope == Scope::configuration && !(node->flags & LYS_CONFIG_W))) continue;
        if (++count > most_names) return names + ", ...";
        names += (names.empty() ? "" : ", ") + std::string(node->name);
    }
    return names.empty() ? "nothing" : names;
}

bool take_key(Reading *at, const lysc_node *leaf)
{
    const std::string &word = at->words[at->next];
    std::string key;
    if (!canonical_text(leaf, word, &key)) {
        return refuse(*at, proto::ErrorCode::bad_value,
                      "\"" + proto::printable(word) + "\" is no " + leaf->name + ": expected " + accepted(leaf));
    }
    at->target->steps.back().keys.push_back(key);
    at->next++;
    return true;
}

// The keys of the list that the target ends in, or none when the words end here.
bool take_keys(Reading *at)
{
    if (at->next == at->words.size()) return true;
    const std::vector<const lysc_node *> leaves = keys_of_list(at->target->steps.back().schema);
    for (const lysc_node *leaf : leaves) {
        if (at->next == at->words.size()) {
            at->target->steps.back().keys.clear();
            return refuse(*at, proto::ErrorCode::bad_path,
                          std::string("the key ") + leaf->name + " is missing: expected " + accepted(leaf));
        }
        if (!take_key(at, leaf)) return false;
    }
    return true;
}

bool take_name(Reading *at)
{
    const std::string &word = at->words[at->next];
    const lysc_node *parent = schema_of(*at->target);
    const std::size_t colon = word.find(':');
    const lysc_node *node = child_named(at->models, parent, word.substr(colon + 1)); // npos + 1 is the whole word
    const bool wrong_module = node && colon != std::string::npos && word.substr(0, colon) != node->module->name;
    if (!node || wrong_module) {
        return refuse(*at, proto::ErrorCode::bad_path,
                      "\"" + proto::printable(word) + "\" is not known here: expected " +
                          child_names(at->models, parent, at->scope));
    }
    at->target->steps.push_back({node, {}, -1});
    at->next++;
    return true;
}

bool is_open(const Step &step)
{
    return step.keys.empty() && step.position < 0;
}

// One more name, and the keys or the item after it.
bool take_step(Reading *at)
{
    if (!take_name(at)) return false;
    const std::uint16_t kind = schema_of(*at->target)->nodetype;
    if (kind == LYS_LIST) return take_keys(at);
    if (kind == LYS_LEAFLIST && at->next < at->words.size()) return take_key(at, schema_of(*at->target));
    return true;
}

bool is_leaf(const Target &target)
{
    return schema_of(target) && (schema_of(target)->nodetype & LYD_NODE_TERM) != 0;
}

bool take_value(Reading *at, std::string *value)
{
    const lysc_node *leaf = schema_of(*at->target);
    const std::string &word = at->words[at->next++];
    if (canonical_text(leaf, word, value)) return true;
    return refuse(*at, proto::ErrorCode::bad_value,
                  "\"" + proto::printable(word) + "\" is not accepted: expected " + accepted(leaf));
}

bool take_keypath(Reading *at)
{
    std::string text;
    if (!resolve(at->models, at->words[0], {}, at->target, &text)) {
        *at->error = {proto::ErrorCode::bad_path, proto::printable(at->words[0]), text};
        return false;
    }
    at->next = 1;
    if (at->target->steps.empty() || !is_open(at->target->steps.back())) return true;
    const lysc_node *node = schema_of(*at->target);
    if (node->nodetype == LYS_LIST) return take_keys(at);
    return node->nodetype != LYS_LEAFLIST || at->next == at->words.size() || take_key(at, node);
}

} // namespace

bool resolve_words(const Models &models, const proto::Words &words, bool value_expected, Target *target,
                   std::string *value, bool *has_value, proto::Error *error, Scope scope)
{
    *target = {};
    *has_value = false;
    Reading at{models, words, 0, target, error, scope};
    if (!words.empty() && words[0].starts_with('/') && !take_keypath(&at)) return false;
    while (at.next < words.size() && !is_leaf(*target)) {
        if (!take_step(&at)) return false;
    }
    if (at.next < words.size() && value_expected && schema_of(*target)->nodetype == LYS_LEAF) {
        *has_value = true;
        if (!take_value(&at, value)) return false;
    }
    if (at.next == words.size()) return true;
    return refuse(at, proto::ErrorCode::bad_path,
                  "\"" + proto::printable(words[at.next]) + "\" is too much: nothing may follow here");
}

} // namespace model
