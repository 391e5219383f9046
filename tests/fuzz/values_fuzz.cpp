// Values on their way: from the wire to the C records of the daemon and back, and between a value and its text. What
// decodes comes back as it was, and canonical texts are fixed points.
#include <cstdint>
#include <cstdlib>

#include "platform/confd/convert.h"
#include "protocol/wire.h"

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
    if (!confd::from_c(confd::to_c(v, &arena), &back) || back != as_buf(v)) abort();
}

void check_text(ValueType type, const std::string &text)
{
    const std::string shown = proto::printable(text);
    if (proto::printable(shown) != shown) abort();
    Value v;
    Value again;
    if (!proto::from_text(type, text, &v)) return;
    if (v.type != type || !proto::from_text(type, proto::to_text(v), &again) || again != v) abort();
}

void check_wire(std::string_view bytes)
{
    proto::Reader r = proto::make_reader(bytes);
    const Value v = proto::get_value(r);
    if (!r.ok) return;
    proto::Writer w;
    proto::put_value(w, v);
    if (w != bytes.substr(0, bytes.size() - static_cast<std::size_t>(r.end - r.at))) abort();
    check_records(v);
    check_text(v.type, proto::to_text(v));
}

void check_keypath(std::string_view bytes)
{
    proto::Reader r = proto::make_reader(bytes);
    const proto::KeyPath path = proto::get_keypath(r);
    if (!r.ok) return;
    confd::Arena arena;
    confd_hkeypath_t record;
    if (!confd::to_c(path, &arena, &record)) return;
    for (std::size_t i = 0; i < path.size(); i++) {
        if (record.v[i][path[i].is_keys ? path[i].keys.size() : 1].type != C_NOEXISTS) abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size < 2) return 0;
    const std::string_view bytes(reinterpret_cast<const char *>(data) + 1, size - 1);
    switch (data[0] % 3) {
    case 0:
        check_wire(bytes);
        break;
    case 1:
        check_keypath(bytes);
        break;
    default:
        if (proto::is_value_type(data[1])) check_text(static_cast<ValueType>(data[1]), std::string(bytes.substr(1)));
        break;
    }
    return 0;
}
