#include "agent/model/values.h"

#include <string_view>

#include <libyang/libyang.h>
#include <libyang/plugins_exts.h>
#include <libyang/plugins_types.h>

#include "agent/model/types.h"

namespace model {

namespace {

// An address type is a string whose plug-in is named "libyang 2 - ipv4-address-no-zone, version 1".
std::string_view plugin_type_name(const lysc_type *type)
{
    std::string_view id = type->plugin->id;
    const std::size_t dash = id.find(" - ");
    if (dash == std::string_view::npos) return {};
    id.remove_prefix(dash + 3);
    return id.substr(0, id.find(','));
}

std::string_view string_type_name(const lysc_type *type)
{
    LY_ARRAY_COUNT_TYPE i = 0;
    LY_ARRAY_FOR(type->exts, i)
    {
        if (std::string_view(type->exts[i].def->name) == "value-type") return type->exts[i].argument;
    }
    return plugin_type_name(type);
}

std::string_view model_type_name(const lysc_type *type)
{
    switch (type->basetype) {
    case LY_TYPE_STRING:
        return string_type_name(type);
    case LY_TYPE_BOOL:
        return "boolean";
    case LY_TYPE_ENUM:
        return "enumeration";
    case LY_TYPE_INT8:
        return "int8";
    case LY_TYPE_INT16:
        return "int16";
    case LY_TYPE_INT32:
        return "int32";
    case LY_TYPE_INT64:
        return "int64";
    case LY_TYPE_UINT8:
        return "uint8";
    case LY_TYPE_UINT16:
        return "uint16";
    case LY_TYPE_UINT32:
        return "uint32";
    case LY_TYPE_UINT64:
        return "uint64";
    case LY_TYPE_BINARY:
        return "binary";
    default:
        return {};
    }
}

bool is_text(proto::ValueType type)
{
    return type == proto::ValueType::str || type == proto::ValueType::buf;
}

bool is_plain_string(const lysc_type *type)
{
    const auto *text = reinterpret_cast<const lysc_type_str *>(type);
    const bool bare = type->basetype == LY_TYPE_STRING && !text->length && !text->patterns;
    return bare && type->plugin->id == std::string_view("libyang 2 - string, version 1");
}

// Whether the text that is made here of a value of this kind is canonical and fits the leaf whatever it says. The
// library, asked for a verdict, takes a multiple of the time that the rest of a row does.
bool fits_always(const lysc_type *leaf_type, proto::ValueType kind)
{
    if (is_text(kind)) return is_plain_string(leaf_type);
    return kind == proto::ValueType::ipv4 || kind == proto::ValueType::ipv6 || kind == proto::ValueType::duration;
}

const lysc_type *first_member(const lysc_type *type)
{
    for (;;) {
        if (type->basetype == LY_TYPE_LEAFREF) {
            type = reinterpret_cast<const lysc_type_leafref *>(type)->realtype;
        } else if (type->basetype == LY_TYPE_UNION) {
            type = reinterpret_cast<const lysc_type_union *>(type)->types[0];
        } else {
            return type;
        }
    }
}

// The member of a leaf's type that takes a value of this kind; null if none does.
const lysc_type *member_for(const lysc_type *type, proto::ValueType kind)
{
    const lysc_type *first = first_member(type);
    if (value_type_of(first) == kind) return first;
    for (const lysc_type *member : member_types(type)) {
        const proto::ValueType wanted = value_type_of(member);
        if (wanted == kind || (is_text(wanted) && is_text(kind))) return member;
    }
    return nullptr;
}

bool enum_name(const lysc_type *type, std::int64_t number, std::string *name)
{
    const auto *definition = reinterpret_cast<const lysc_type_enum *>(type);
    LY_ARRAY_COUNT_TYPE i = 0;
    LY_ARRAY_FOR(definition->enums, i)
    {
        if (definition->enums[i].value != number) continue;
        *name = definition->enums[i].name;
        return true;
    }
    return false;
}

std::string raw_text(const proto::Value &value)
{
    return is_text(value.type) ? proto::printable(value.bytes) : proto::to_text(value);
}

// What was stored: the target's type of a leafref, the matching member of a union.
const lyd_value &stored_value(const lyd_node *node)
{
    const lyd_value *value = &reinterpret_cast<const lyd_node_term *>(node)->value;
    while (value->realtype->basetype == LY_TYPE_UNION)
        value = &value->subvalue->value;
    return *value;
}

} // namespace

proto::ValueType value_type_of(const lysc_type *type)
{
    return proto::type_of_model(model_type_name(first_member(type)));
}

const lysc_type *type_of_leaf(const lysc_node *leaf)
{
    if (leaf->nodetype == LYS_LEAF) return reinterpret_cast<const lysc_node_leaf *>(leaf)->type;
    if (leaf->nodetype == LYS_LEAFLIST) return reinterpret_cast<const lysc_node_leaflist *>(leaf)->type;
    return nullptr;
}

std::vector<const lysc_type *> member_types(const lysc_type *type)
{
    if (type->basetype == LY_TYPE_LEAFREF)
        return member_types(reinterpret_cast<const lysc_type_leafref *>(type)->realtype);
    if (type->basetype != LY_TYPE_UNION) return {type};
    std::vector<const lysc_type *> members;
    const auto *definition = reinterpret_cast<const lysc_type_union *>(type);
    LY_ARRAY_COUNT_TYPE i = 0;
    LY_ARRAY_FOR(definition->types, i)
    {
        for (const lysc_type *member : member_types(definition->types[i]))
            members.push_back(member);
    }
    return members;
}

proto::ValueType type_of(const lysc_node *leaf)
{
    const lysc_type *type = type_of_leaf(leaf);
    return type ? value_type_of(type) : proto::ValueType::noexists;
}

proto::Value to_value(const lyd_node *node)
{
    const lyd_value &stored = stored_value(node);
    const proto::ValueType type = value_type_of(stored.realtype);
    if (type == proto::ValueType::enum_value) return proto::make_number(type, stored.enum_item->value);
    if (is_text(type)) return proto::make_text(type, lyd_get_value(node));
    proto::Value value;
    proto::from_text(type, lyd_get_value(node), &value);
    return value;
}

proto::Value to_list_value(const lyd_node *siblings, const lysc_node *leaf_list)
{
    proto::Value value;
    value.type = proto::ValueType::list;
    for (const lyd_node *node = siblings; node; node = node->next) {
        if (node->schema == leaf_list) value.list.push_back(to_value(node));
    }
    return value;
}

std::vector<proto::Value> keys_of(const lyd_node *entry)
{
    std::vector<proto::Value> keys;
    for (const lyd_node *node = lyd_child(entry); node && lysc_is_key(node->schema); node = node->next)
        keys.push_back(to_value(node));
    return keys;
}

bool canonical_text(const lysc_node *leaf, const std::string &text, std::string *canonical)
{
    // The library takes bytes that are no text and prints invalid documents from them later.
    if (proto::printable(text) != text) return false;
    const char *result = nullptr;
    const ly_ctx *ctx = leaf->module->ctx;
    const LY_ERR status = lyd_value_validate(ctx, leaf, text.data(), text.size(), nullptr, nullptr, &result);
    const bool accepted_now = status == LY_SUCCESS || status == LY_EINCOMPLETE; // a reference, not followed
    if (accepted_now) *canonical = result ? result : text;
    lydict_remove(ctx, result);
    return accepted_now;
}

bool value_text(const lysc_node *leaf, const proto::Value &value, std::string *text, std::string *error)
{
    const lysc_type *type = type_of_leaf(leaf);
    const lysc_type *member = type ? member_for(type, value.type) : nullptr;
    if (!member) {
        *error = "a value of type " + std::to_string(static_cast<int>(value.type)) + " is not " + leaf->name + "'s";
        return false;
    }
    if (fits_always(type, value.type)) {
        *text = raw_text(value);
        return true;
    }
    std::string raw;
    const bool is_enum = value.type == proto::ValueType::enum_value;
    if (is_enum ? enum_name(member, value.number, &raw) : (raw = raw_text(value), true)) {
        if (canonical_text(leaf, raw, text)) return true;
    } else {
        raw = std::to_string(value.number);
    }
    *error = "\"" + proto::printable(raw) + "\" does not fit " + leaf->name + ": expected " + accepted(leaf);
    return false;
}

} // namespace model
