// A stream of frames: framing, then every record that an operation may carry. What decodes must encode to the same
// bytes, and its values must survive their text form.
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

// Whatever its operation, the payload is read as every record.
template <typename... Records> void round_trips(std::string_view payload)
{
    (round_trip<Records>(payload), ...);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    std::string_view stream(reinterpret_cast<const char *>(data), size);
    Frame frame;
    std::size_t used = 0;
    while (next_frame(stream, &frame, &used) == Parse::complete) {
        round_trips<Hello, Get, Edit, Load, Commit, Complete, CdbStart, CdbPath, CdbSet, Register, Notify, Trap,
                    Deliver, CallValidate, CallData, Event, Tree, DataReply, Error>(frame.payload);
        values(frame.payload);
        stream.remove_prefix(used);
    }
    return 0;
}
