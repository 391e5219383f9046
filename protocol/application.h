// What the agent and an application say over its control connection: registration, deliveries of changes, validation,
// actions and reads of operational data. See hello.h for encode() and decode().
#ifndef GW_PROTOCOL_APPLICATION_H
#define GW_PROTOCOL_APPLICATION_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "protocol/pair.h"
#include "protocol/value.h"

namespace proto {

struct Subscription {
    std::string path; // relative to the namespace, may begin with "prefix:"
    std::uint32_t ns = 0;
    std::uint8_t priority = 0;
    std::uint8_t flags = 0; // 0x06: values wanted
    std::uint8_t oper = 0;  // 0x10: operational data
};

inline constexpr std::uint8_t wants_values = 0x06;
inline constexpr std::uint8_t on_operational = 0x10;

enum class DataCall : std::uint8_t {
    get_elem = 1,
    get_next = 2,
    get_object = 3,
    get_next_object = 4,
    find_next_object = 5
};

struct Callpoint {
    std::string name;
    std::uint8_t calls = 0; // bit n set: the DataCall with number n is there
};

struct Register { // register_app
    std::string app;
    std::uint64_t instance = 0;  // differs between processes, the same for every connection of one
    std::uint64_t last_txid = 0; // the delivery that this process worked on last ...
    std::uint32_t last_done = 0; // ... and how many of its calls have returned
    std::vector<Subscription> subscriptions;
    std::vector<std::string> validation_points;
    std::vector<std::string> action_points;
    std::vector<Callpoint> callpoints;
};

struct TagName {
    std::uint32_t hash = 0;
    std::string name;
};

struct RegisterReply { // the names behind tags and namespaces, for the log
    std::vector<TagName> tags;
    std::vector<TagName> namespaces;
};

struct Notify { // notify, id 0: begin element, leaves, end element
    std::vector<TagValue> values;
};

struct Trap { // trap, id 0
    std::string name;
    std::vector<Pair> bindings;
};

struct Deliver { // deliver, answered by a Status. The next one is sent only after the answer.
    std::uint64_t txid = 0;
    std::uint32_t index = 0; // of `total` calls for this txid
    std::uint32_t total = 0;
    std::uint16_t row = 0;      // of Register::subscriptions
    std::uint8_t operation = 0; // 1 created, 2 deleted, 3 modified
    std::vector<Value> keys;
    std::vector<TagValue> values;
};

struct Status {              // answers deliver, call_validate, call_action
    std::int32_t status = 0; // the handler's result; call_validate: 0 accepted, -1 refused, -3 warning
    std::string text;
    std::vector<TagValue> values; // of call_action
};

struct CallValidate { // call_validate
    std::string point;
    KeyPath path;
    Value value;
};

struct CallAction { // call_action
    std::string point;
    KeyPath path;
    std::vector<TagValue> values;
};

struct CallData { // call_data, answered by DataReplies
    std::string callpoint;
    DataCall call = DataCall::get_elem;
    KeyPath path;
    std::int64_t next = -1;  // get_next, get_next_object
    std::vector<Value> keys; // find_next_object: the entry after this one is wanted
    // get_next, get_next_object: the application goes on with the `next` that its provider gives, up to so many rows;
    // it stops earlier when they are many bytes or take long.
    std::uint16_t rows = 1;
    bool objects = false; // get_next: each key is followed by the get_object of its row
};

enum class DataKind : std::uint8_t { not_found = 1, value = 2, next_key = 3, object = 4, next_object = 5, failed = 6 };

struct DataReply {
    DataKind kind = DataKind::not_found;
    Value value;
    std::int64_t next = -1;
    std::vector<Value> keys;      // next_key: none ends the list
    std::vector<TagValue> values; // object, next_object: none ends the list
    std::string text;             // failed: why
};

struct DataReplies { // of the calls that were made, in their order
    std::vector<DataReply> list;
};

std::string encode(const Register &record);
bool decode(std::string_view payload, Register *record);
std::string encode(const RegisterReply &record);
bool decode(std::string_view payload, RegisterReply *record);
std::string encode(const Notify &record);
bool decode(std::string_view payload, Notify *record);
std::string encode(const Trap &record);
bool decode(std::string_view payload, Trap *record);
std::string encode(const Deliver &record);
bool decode(std::string_view payload, Deliver *record);
std::string encode(const Status &record);
bool decode(std::string_view payload, Status *record);
std::string encode(const CallValidate &record);
bool decode(std::string_view payload, CallValidate *record);
std::string encode(const CallAction &record);
bool decode(std::string_view payload, CallAction *record);
std::string encode(const CallData &record);
bool decode(std::string_view payload, CallData *record);
std::string encode(const DataReply &record); // alone it never travels; this gives its size
std::string encode(const DataReplies &record);
bool decode(std::string_view payload, DataReplies *record);

} // namespace proto

#endif
