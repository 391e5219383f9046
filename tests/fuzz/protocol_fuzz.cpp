// A stream of frames: framing, then the record that each operation carries. What decodes must encode to the same bytes,
// and its values must survive their text form.
#include <cstdint>
#include <cstdlib>

#include "protocol/application.h"
#include "protocol/client.h"
#include "protocol/data.h"
#include "protocol/frame.h"
#include "protocol/hello.h"
#include "protocol/wire.h"

using namespace proto;

namespace {

template <typename Record> void round_trip(std::string_view payload)
{
    Record record;
    if (!decode(payload, &record)) return;
    Record again;
    const std::string encoded = encode(record);
    if (!decode(encoded, &again) || encode(again) != encoded) abort();
}

void values(std::string_view payload)
{
    Reader r = make_reader(payload);
    const Value v = get_value(r);
    if (!r.ok) return;
    const std::string text = to_text(v);
    const std::string shown = printable(text);
    if (printable(shown) != shown) abort();
    Value back;
    if (from_text(v.type, text, &back) && to_text(back) != text) abort();
}

void record_of(const Frame &frame)
{
    switch (frame.op) {
    case Op::hello:
        return round_trip<Hello>(frame.payload);
    case Op::get:
        return round_trip<Get>(frame.payload);
    case Op::edit:
        return round_trip<Edit>(frame.payload);
    case Op::load:
        return round_trip<Load>(frame.payload);
    case Op::commit:
    case Op::validate:
        return round_trip<Commit>(frame.payload);
    case Op::complete:
        return round_trip<Complete>(frame.payload);
    case Op::cdb_start:
        return round_trip<CdbStart>(frame.payload);
    case Op::cdb_get:
        return round_trip<CdbPath>(frame.payload);
    case Op::cdb_set:
        return round_trip<CdbSet>(frame.payload);
    case Op::register_app:
        return round_trip<Register>(frame.payload);
    case Op::notify:
        return round_trip<Notify>(frame.payload);
    case Op::trap:
        return round_trip<Trap>(frame.payload);
    case Op::deliver:
        return round_trip<Deliver>(frame.payload);
    case Op::call_validate:
        return round_trip<CallValidate>(frame.payload);
    case Op::call_data:
        return round_trip<CallData>(frame.payload);
    case Op::event:
        return round_trip<Event>(frame.payload);
    case Op::reply:
        round_trip<Tree>(frame.payload);
        round_trip<DataReply>(frame.payload);
        return values(frame.payload);
    case Op::error:
        return round_trip<Error>(frame.payload);
    default:
        return;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    std::string_view stream(reinterpret_cast<const char *>(data), size);
    Frame frame;
    std::size_t used = 0;
    while (next_frame(stream, &frame, &used) == Parse::complete) {
        record_of(frame);
        stream.remove_prefix(used);
    }
    return 0;
}
