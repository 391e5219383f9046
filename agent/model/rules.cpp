#include "agent/model/rules.h"

#include <string>
#include <string_view>

#include <libyang/libyang.h>

#include "agent/model/paths.h"
#include "agent/model/types.h"
#include "agent/model/values.h"

namespace model {

namespace {

struct Said { // by the library
    std::string text;
    std::string tag;         // error-app-tag
    std::string data_path;   // its own syntax, may be empty
    std::string schema_path; // likewise
    std::string line;        // of a document, may be empty
};

// What follows `label` up to `stop` in "Schema location "...", data location "...", line number 1.".
std::string part_after(const std::string &text, std::string_view label, std::string_view stop)
{
    const std::size_t at = text.find(label);
    if (at == std::string::npos) return {};
    const std::size_t begin = at + label.size();
    const std::size_t end = text.find(stop, begin);
    return end == std::string::npos ? std::string() : text.substr(begin, end - begin);
}

Said take_error(ly_ctx *ctx)
{
    Said said;
    const char *text = ly_errmsg(ctx);
    const char *where = ly_errpath(ctx);
    const char *tag = ly_errapptag(ctx);
    const std::string path = where ? where : "";
    said.text = text ? text : "the models do not allow this";
    said.tag = tag ? tag : "";
    said.data_path = part_after(path, "ata location \"", "\"");
    said.schema_path = part_after(path, "chema location \"", "\"");
    said.line = part_after(path, "ine number ", ".");
    ly_err_clean(ctx, nullptr);
    return said;
}

std::string without_predicates(const std::string &path)
{
    std::string plain;
    char quote = 0;
    bool inside = false;
    for (const char c : path) {
        if (quote == 0 && c == '[') inside = true;
        if (!inside) plain += c;
        if (inside && (c == '\'' || c == '"')) quote = quote == 0 ? c : quote == c ? static_cast<char>(0) : quote;
        if (quote == 0 && c == ']') inside = false;
    }
    return plain;
}

bool lacks(const lyd_node *holder, const lysc_node *schema)
{
    for (const lyd_node *node = lyd_child(holder); node; node = node->next) {
        for (const lysc_node *at = node->schema; at != holder->schema; at = at->parent) {
            if (at == schema) return false;
        }
    }
    return true;
}

// The first instance of the schema's data parent without this leaf or without any case of this choice.
const lyd_node *holder_lacking(const lyd_node *siblings, const lysc_node *schema)
{
    const lysc_node *parent = data_parent(schema);
    for (const lyd_node *node = siblings; node; node = node->next) {
        if (node->schema == parent && lacks(node, schema)) return node;
        if (const lyd_node *deeper = holder_lacking(lyd_child(node), schema)) return deeper;
    }
    return nullptr;
}

const lysc_node *choice_below(const lysc_node *parent, const std::string &name)
{
    const lysc_node *node = nullptr;
    while ((node = lys_getnext(node, parent, nullptr, LYS_GETNEXT_WITHCHOICE))) {
        if (node->nodetype == LYS_CHOICE && node->name == name) return node;
    }
    return nullptr;
}

std::string case_names(const lysc_node *choice)
{
    std::string names;
    const lysc_node *node = nullptr;
    while ((node = lys_getnext(node, choice, nullptr, LYS_GETNEXT_WITHCASE)))
        names += (names.empty() ? "" : ", ") + std::string(node->name);
    return names;
}

std::string quoted_part(const std::string &text)
{
    return part_after(text, "\"", "\"");
}

// "Mandatory node "x" instance does not exist.": the library tells the schema node only.
bool missing_leaf(const Models &models, const lyd_node *tree, const Said &said, proto::Error *error)
{
    if (!said.text.starts_with("Mandatory node")) return false;
    const lysc_node *leaf = schema_at(models, said.schema_path);
    if (!leaf) return false;
    const lyd_node *holder = holder_lacking(tree, leaf);
    error->path = holder ? keypath_of(holder) + "/" + leaf->name : keypath_of_library_path(said.schema_path);
    const std::string wanted = accepted(leaf);
    error->text = std::string(leaf->name) + " is missing" + (wanted.empty() ? "" : ": expected " + wanted);
    return true;
}

bool missing_choice(const Models &models, const lyd_node *tree, const Said &said, proto::Error *error)
{
    if (said.tag != "missing-choice") return false;
    const lysc_node *choice = choice_below(schema_at(models, said.schema_path), quoted_part(said.text));
    if (!choice) return false;
    const lyd_node *holder = holder_lacking(tree, choice);
    error->path = holder ? keypath_of(holder) : keypath_of_library_path(said.schema_path);
    error->text = "one of these is missing: " + case_names(choice);
    return true;
}

std::uint32_t most_elements(const lysc_node *node)
{
    if (node->nodetype == LYS_LIST) return reinterpret_cast<const lysc_node_list *>(node)->max;
    return reinterpret_cast<const lysc_node_leaflist *>(node)->max;
}

bool too_many(const Models &models, const Said &said, proto::Error *error)
{
    if (said.tag != "too-many-elements") return false;
    const lysc_node *list = schema_at(models, without_predicates(said.data_path));
    if (!list) return false;
    error->text = "too many: at most " + std::to_string(most_elements(list)) + " of " + list->name + " are allowed";
    return true;
}

bool no_such_reference(const Said &said, proto::Error *error)
{
    if (said.tag != "instance-required") return false;
    const std::string target = part_after(said.text, "no target instance \"", "\"");
    error->text = "\"" + quoted_part(said.text) + "\" does not exist in " + keypath_of_library_path(target);
    return true;
}

// "Unique data leaf(s) "x" not satisfied in "/a" and "/b"."
bool not_unique(const Said &said, proto::Error *error)
{
    if (said.tag != "data-not-unique") return false;
    const std::string other = part_after(said.text, "not satisfied in \"", "\"");
    error->text = quoted_part(said.text) + " is already used by " + keypath_of_library_path(other);
    return true;
}

bool wrong_value(const Models &models, const Said &said, proto::Error *error)
{
    const lysc_node *leaf = said.line.empty() ? nullptr : schema_at(models, without_predicates(said.data_path));
    if (!leaf || !type_of_leaf(leaf)) return false;
    error->code = proto::ErrorCode::bad_value;
    error->text += ": expected " + accepted(leaf);
    return true;
}

void strip_stop(std::string *text)
{
    while (!text->empty() && (text->back() == '.' || text->back() == ' '))
        text->pop_back();
}

} // namespace

const lysc_node *schema_at(const Models &models, const std::string &library_path)
{
    const lysc_node *node = nullptr;
    std::string_view rest = library_path;
    while (!rest.empty()) {
        rest.remove_prefix(1);
        const std::string_view step = rest.substr(0, rest.find('/'));
        rest.remove_prefix(step.size());
        const lysc_node *next = child_named(models, node, std::string(step.substr(step.find(':') + 1)));
        if (next) node = next;
    }
    return node;
}

proto::Error last_error(const Models &models, const lyd_node *tree)
{
    const Said said = take_error(context(models));
    proto::Error error{proto::ErrorCode::refused, keypath_of_library_path(said.data_path), said.text};
    if (error.path.empty()) error.path = keypath_of_library_path(said.schema_path);
    strip_stop(&error.text);
    const bool explained = missing_leaf(models, tree, said, &error) || missing_choice(models, tree, said, &error) ||
                           too_many(models, said, &error) || no_such_reference(said, &error) ||
                           not_unique(said, &error) || wrong_value(models, said, &error);
    if (!explained && !said.line.empty()) error.code = proto::ErrorCode::malformed;
    if (!said.line.empty()) error.text += " (line " + said.line + ")";
    error.text = proto::printable(error.text);
    return error;
}

} // namespace model
