// Frames on the stream: u32 length (of what follows), u8 operation, u32 request id, payload. All big-endian.
// A request carries an id of the sender's choice, its answer the same id; id 0 asks for no answer. Each direction of a
// connection has its own ids.
#ifndef GW_PROTOCOL_FRAME_H
#define GW_PROTOCOL_FRAME_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace proto {

inline constexpr std::uint16_t version = 1;
inline constexpr std::uint16_t default_port = 4565;
inline constexpr std::size_t length_bytes = 4;
inline constexpr std::size_t header_bytes = 5;          // operation and request id, counted by the length
inline constexpr std::size_t max_frame = 1024UL * 1024; // of the length field
inline constexpr int hello_seconds = 5;                 // a peer that has not said hello by then is closed

enum class Op : std::uint8_t {
    // any peer
    hello = 1,
    // gwcli, gw-snmp and tools
    get = 16,
    edit = 17,
    load = 18,
    discard = 19,
    diff = 20,
    validate = 21,
    commit = 22,
    confirm = 23,
    abort_confirmed = 24,
    rollback = 25,
    rollbacks = 26,
    complete = 27,
    action = 28,
    watch = 29,
    status = 30,
    // a data connection of an application
    cdb_start = 48,
    cdb_end = 49,
    cdb_get = 50,
    cdb_case = 51,
    cdb_exists = 52,
    cdb_count = 53,
    cdb_cd = 54,
    cdb_namespace = 55,
    cdb_set = 56,
    // the control connection of an application: to the agent
    register_app = 80,
    notify = 81,
    trap = 82,
    // ... and from the agent
    deliver = 96,
    call_validate = 97,
    call_action = 98,
    call_data = 99,
    // from the agent to a watcher, always with id 0
    event = 112,
    // answers
    reply = 128,
    error = 129,
};

bool is_op(std::uint8_t number);

struct Frame {
    Op op = Op::error;
    std::uint32_t id = 0;
    std::string_view payload; // into the buffer that was parsed
};

enum class Parse : std::uint8_t { complete, incomplete, malformed };

// The first frame of the bytes. complete: *frame holds it and *used the bytes it took. malformed: a length below
// header_bytes or above max_frame, or an operation that does not exist; the stream cannot be trusted any further.
Parse next_frame(std::string_view bytes, Frame *frame, std::size_t *used);

// A whole frame. The payload must fit max_frame (see fits_frame).
std::string make_frame(Op op, std::uint32_t id, std::string_view payload);
bool fits_frame(std::size_t payload_size);

} // namespace proto

#endif
