#include "protocol/frame.h"

#include <cassert>

#include "protocol/wire.h"

namespace proto {

bool is_op(std::uint8_t number)
{
    struct Range {
        Op first;
        Op last;
    };
    constexpr Range ranges[] = {
        {Op::hello,        Op::hello    },
        {Op::get,          Op::status   },
        {Op::cdb_start,    Op::cdb_set  },
        {Op::register_app, Op::trap     },
        {Op::deliver,      Op::call_data},
        {Op::event,        Op::event    },
        {Op::reply,        Op::error    }
    };
    const Op op = static_cast<Op>(number);
    for (const Range &range : ranges) {
        if (op >= range.first && op <= range.last) return true;
    }
    return false;
}

Parse next_frame(std::string_view bytes, Frame *frame, std::size_t *used)
{
    if (bytes.size() < length_bytes) return Parse::incomplete;
    Reader r = make_reader(bytes);
    const std::uint32_t length = get_u32(r);
    if (length < header_bytes || length > max_frame) return Parse::malformed;
    if (bytes.size() > length_bytes && !is_op(static_cast<std::uint8_t>(bytes[length_bytes]))) return Parse::malformed;
    if (bytes.size() - length_bytes < length) return Parse::incomplete;
    frame->op = static_cast<Op>(get_u8(r));
    frame->id = get_u32(r);
    frame->payload = bytes.substr(length_bytes + header_bytes, length - header_bytes);
    *used = length_bytes + length;
    return Parse::complete;
}

std::string make_frame(Op op, std::uint32_t id, std::string_view payload)
{
    assert(fits_frame(payload.size()));
    std::string out;
    out.reserve(length_bytes + header_bytes + payload.size());
    put_u32(out, static_cast<std::uint32_t>(header_bytes + payload.size()));
    put_u8(out, static_cast<std::uint8_t>(op));
    put_u32(out, id);
    out.append(payload);
    return out;
}

bool fits_frame(std::size_t payload_size)
{
    return payload_size <= max_frame - header_bytes;
}

} // namespace proto
