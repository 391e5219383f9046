// Values on their way: from the wire to the C records of the daemon and back, and between a value and its text. What
// decodes comes back as it was, and canonical texts are fixed points.
#include "platform/confd/convert.h"
#include "protocol/wire.h"
#include "target.h"

using proto::Value;
using proto::ValueType;

namespace {

// Text has one type in the C records.
Value as_buf(Value v)
{
    if (v.type == ValueType::str) v.type = ValueType::buf;
    for (Value &item : v.list)
        item = as_buf(item);
    return v;
}

void check_records(const Value &v)
{
    confd::Arena arena;
    Value back;
    require(confd::from_c(confd::to_c(v, &arena), &back) && back == as_buf(v));
}

void check_text(ValueType type, const std::string &text)
{
    const std::string shown = proto::printable(text);
    require(proto::printable(shown) == shown);
    Value v;
    Value again;
    if (!proto::from_text(type, text, &v)) return;
    require(v.type == type && proto::from_text(type, proto::to_text(v), &again) && again == v);
}

void check_wire(std::string_view bytes)
{
    proto::Reader r = proto::make_reader(bytes);
    const Value v = proto::get_value(r);
    if (!r.ok) return;
    proto::Writer w;
    proto::put_value(w, v);
    require(w == bytes.substr(0, bytes.size() - static_cast<std::size_t>(r.end - r.at)));
    check_records(v);
    const std::string text = proto::to_text(v);
    check_text(v.type, text);
    Value back;
    require(!proto::from_text(v.type, text, &back) || proto::to_text(back) == text);
}

void check_keypath(std::string_view bytes)
{
    proto::Reader r = proto::make_reader(bytes);
    const proto::KeyPath path = proto::get_keypath(r);
    if (!r.ok) return;
    confd::Arena arena;
    confd_hkeypath_t record;
    if (!confd::to_c(path, &arena, &record)) return;
    for (std::size_t i = 0; i < path.size(); i++)
        require(record.v[i][path[i].is_keys ? path[i].keys.size() : 1].type == C_NOEXISTS);
}

// The first byte is the type.
void check_typed(std::string_view text)
{
    const std::uint8_t type = take_byte(&text);
    if (proto::is_value_type(type)) check_text(static_cast<ValueType>(type), std::string(text));
}

} // namespace

void check(std::string_view input)
{
    constexpr void (*targets[])(std::string_view) = {check_wire, check_keypath, check_typed};
    const std::uint8_t target = take_byte(&input);
    targets[target % 3](input);
}
