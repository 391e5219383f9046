// A stream of frames: framing, then every record that an operation may carry. What decodes must encode to the same
// bytes.
#include "protocol/application.h"
#include "protocol/client.h"
#include "protocol/data.h"
#include "protocol/frame.h"
#include "protocol/hello.h"
#include "target.h"

using namespace proto;

namespace {

template <typename Record> void round_trip(std::string_view payload)
{
    Record record;
    if (!decode(payload, &record)) return;
    Record again;
    const std::string encoded = encode(record);
    require(decode(encoded, &again) && encode(again) == encoded);
}

// Whatever its operation, the payload is read as every record.
template <typename... Records> void round_trips(std::string_view payload)
{
    (round_trip<Records>(payload), ...);
}

} // namespace

void check(std::string_view input)
{
    Frame frame;
    std::size_t used = 0;
    while (next_frame(input, &frame, &used) == Parse::complete) {
        round_trips<Hello, Get, Edit, Load, Commit, Complete, CdbStart, CdbPath, CdbSet, Register, Notify, Trap,
                    Deliver, CallValidate, CallData, Event, Tree, DataReplies, Error>(frame.payload);
        input.remove_prefix(used);
    }
}
