#include "agent/model/edit.h"

#include <algorithm>
#include <string_view>

#include <libyang/libyang.h>

#include "agent/model/rules.h"
#include "agent/model/values.h"

namespace model {

namespace {

bool refuse(proto::Error *error, proto::ErrorCode code, const std::string &path, const std::string &text)
{
    *error = {code, path, text};
    return false;
}

lyd_node *children_of(lyd_node *parent, lyd_node *top)
{
    return parent ? lyd_child(parent) : top;
}

// Whether the node stands in another case of the choice that `chosen` is a case of.
bool in_other_case(const lyd_node *node, const lysc_node *chosen)
{
    for (const lysc_node *at = node->schema; at; at = at->parent) {
        if (at->parent == chosen->parent) return at != chosen;
    }
    return false;
}

void drop_other_cases_of(lyd_node **top, lyd_node *parent, const lysc_node *chosen)
{
    lyd_node *next = nullptr;
    for (lyd_node *node = children_of(parent, *top); node; node = next) {
        next = node->next;
        if (!in_other_case(node, chosen)) continue;
        if (node == *top) *top = next;
        lyd_free_tree(node);
    }
}

// What is among the children of `parent` (null: the top) and excluded by the choice of a node there.
void drop_other_cases(lyd_node **top, lyd_node *parent, const lysc_node *schema)
{
    for (const lysc_node *at = schema->parent; at && (at->nodetype & (LYS_CHOICE | LYS_CASE)); at = at->parent) {
        if (at->nodetype == LYS_CASE) drop_other_cases_of(top, parent, at);
    }
}

void add_defaults(const Models &models, lyd_node **top)
{
    lyd_new_implicit_all(top, context(models), LYD_IMPLICIT_NO_STATE, nullptr);
}

bool is_config(const Target &target)
{
    const lysc_node *node = schema_of(target);
    return node && (node->flags & LYS_CONFIG_W) != 0;
}

// An operator can name it for an edit: configuration, every key given.
bool check_editable(const Target &target, proto::Error *error)
{
    const std::string path = keypath_of(target);
    if (target.steps.empty()) return refuse(error, proto::ErrorCode::bad_path, path, "name what is to be changed");
    if (!is_config(target)) return refuse(error, proto::ErrorCode::bad_path, path, "this is not configuration");
    if (lysc_is_key(schema_of(target)))
        return refuse(error, proto::ErrorCode::bad_path, path, "a key comes and goes with its entry");
    return true;
}

bool check_settable(const Target &target, bool has_value, proto::Error *error)
{
    if (!check_editable(target, error)) return false;
    const lysc_node *node = schema_of(target);
    const std::string path = keypath_of(target);
    const bool keyless = target.steps.back().keys.empty();
    if (node->nodetype == LYS_LIST && keyless) {
        return refuse(error, proto::ErrorCode::bad_path, path,
                      "a key is missing: expected " + accepted(keys_of_list(node).front()));
    }
    if ((node->nodetype == LYS_LEAF && !has_value) || (node->nodetype == LYS_LEAFLIST && keyless))
        return refuse(error, proto::ErrorCode::bad_value, path, "a value is missing: expected " + accepted(node));
    if (lysc_is_np_cont(node))
        return refuse(error, proto::ErrorCode::bad_path, path, "name a leaf or an entry below it");
    return true;
}

void forget(lyd_node **top, lyd_node *node)
{
    if (node == *top) *top = node->next;
    lyd_free_tree(node);
}

// A document ends where its first object ends. The library takes a cut or empty one as the empty tree.
bool is_whole_object(std::string_view text)
{
    constexpr std::string_view blanks = " \t\r\n";
    const std::size_t begin = text.find_first_not_of(blanks);
    if (begin == std::string_view::npos || text[begin] != '{') return false;
    std::size_t depth = 0;
    bool in_string = false;
    for (std::size_t i = begin; i < text.size(); i++) {
        const char c = text[i];
        if (c == '"') in_string = !in_string;
        if (in_string && c == '\\') i++;
        if (in_string) continue;
        if (c == '{' || c == '[') depth++;
        if ((c == '}' || c == ']') && --depth == 0)
            return text.find_first_not_of(blanks, i + 1) == std::string_view::npos;
    }
    return false;
}

bool is_clean_text(std::string text)
{
    std::replace_if(
        text.begin(), text.end(), [](char c) { return c == '\n' || c == '\r' || c == '\t'; }, ' ');
    return proto::printable(text) == text;
}

// The library parses a node that is given twice and only refuses it when everything is validated.
const lyd_node *given_twice(const lyd_node *siblings)
{
    for (const lyd_node *node = siblings; node; node = node->next) {
        lyd_node *first = nullptr;
        if (node->schema->nodetype & (LYS_LIST | LYS_LEAFLIST)) {
            lyd_find_sibling_first(siblings, node, &first);
        } else {
            lyd_find_sibling_val(siblings, node->schema, nullptr, 0, &first);
        }
        if (first != node) return node;
        if (const lyd_node *deeper = given_twice(lyd_child(node))) return deeper;
    }
    return nullptr;
}

// Before a merge: what the new data chooses replaces what was chosen.
void yield_cases(lyd_node **top, lyd_node *parent, const lyd_node *news)
{
    for (const lyd_node *node = news; node; node = node->next) {
        drop_other_cases(top, parent, node->schema);
        lyd_node *mine = nullptr;
        if (!lyd_child(node) || lyd_find_sibling_first(children_of(parent, *top), node, &mine)) continue;
        yield_cases(top, mine, lyd_child(node));
    }
}

} // namespace

bool store(const Models &models, Tree *tree, const Target &target, const std::string &text, std::string *error)
{
    std::string path;
    if (target.steps.empty() || !data_path(target, &path)) {
        *error = "the path is not one to store at: " + keypath_of(target);
        return false;
    }
    const bool is_leaf = schema_of(target)->nodetype == LYS_LEAF;
    lyd_node *created = nullptr;
    lyd_node *top = tree->release();
    const LY_ERR status = lyd_new_path2(top, context(models), path.c_str(), is_leaf ? text.c_str() : nullptr, 0,
                                        LYD_ANYDATA_STRING, LYD_NEW_PATH_UPDATE, &created, nullptr);
    lyd_node *root = created;
    while (root && root->parent)
        root = lyd_parent(root);
    top = top ? top : root;
    tree->reset(top ? lyd_first_sibling(top) : nullptr);
    if (status) *error = last_error(models, nullptr).text;
    return status == LY_SUCCESS;
}

bool set(const Models &models, Tree *tree, const proto::Words &words, proto::Error *error)
{
    Target target;
    std::string value;
    bool has_value = false;
    if (!resolve_words(models, words, true, &target, &value, &has_value, error, Scope::configuration)) return false;
    if (!check_settable(target, has_value, error)) return false;
    std::string text;
    if (!store(models, tree, target, value, &text))
        return refuse(error, proto::ErrorCode::bad_value, keypath_of(target), text);

    lyd_node *top = tree->release();
    for (auto *node = const_cast<lyd_node *>(find(top, target)); node; node = lyd_parent(node))
        drop_other_cases(&top, lyd_parent(node), node->schema);
    add_defaults(models, &top);
    tree->reset(top);
    return true;
}

bool remove(const Models &models, Tree *tree, const proto::Words &words, proto::Error *error)
{
    Target target;
    std::string value;
    bool has_value = false;
    if (!resolve_words(models, words, false, &target, &value, &has_value, error, Scope::configuration)) return false;
    if (!check_editable(target, error)) return false;
    const std::vector<const lyd_node *> nodes = find_all(tree->get(), target);
    if (nodes.empty()) return refuse(error, proto::ErrorCode::not_exists, keypath_of(target), "it does not exist");
    if (nodes.front()->flags & LYD_DEFAULT)
        return refuse(error, proto::ErrorCode::not_exists, keypath_of(target), "it is not set and has its default");

    lyd_node *top = tree->release();
    for (const lyd_node *node : nodes)
        forget(&top, const_cast<lyd_node *>(node));
    add_defaults(models, &top);
    tree->reset(top);
    return true;
}

bool load_json(const Models &models, Tree *tree, const std::string &text, bool replace, proto::Error *error)
{
    if (!is_whole_object(text) || !is_clean_text(text))
        return refuse(error, proto::ErrorCode::malformed, "", "this is not one whole JSON object in UTF-8");
    lyd_node *news = nullptr;
    if (lyd_parse_data_mem(context(models), text.c_str(), LYD_JSON,
                           LYD_PARSE_ONLY | LYD_PARSE_STRICT | LYD_PARSE_NO_STATE, 0, &news)) {
        *error = last_error(models, nullptr);
        return false;
    }
    if (const lyd_node *node = given_twice(news)) {
        *error = {proto::ErrorCode::malformed, keypath_of(node), "this is given twice"};
        lyd_free_all(news);
        return false;
    }
    lyd_node *top = replace ? nullptr : tree->release();
    yield_cases(&top, nullptr, news);
    if (top) {
        lyd_merge_siblings(&top, news, LYD_MERGE_DESTRUCT);
    } else {
        top = news;
    }
    add_defaults(models, &top);
    tree->reset(top);
    return true;
}

bool validate(const Models &models, Tree *tree, proto::Error *error)
{
    lyd_node *top = tree->release();
    const LY_ERR status = lyd_validate_all(&top, context(models), LYD_VALIDATE_NO_STATE, nullptr);
    if (status) *error = last_error(models, top);
    tree->reset(top);
    return status == LY_SUCCESS;
}

} // namespace model
