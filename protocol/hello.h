// The first exchange on every connection, and the answer that says no.
//
// For every record of the message headers: encode() gives the payload, decode() reads one back and is false when the
// payload is malformed or has bytes left over. An operation that no record names carries nothing; an answer that no
// record names is an empty reply.
#ifndef GW_PROTOCOL_HELLO_H
#define GW_PROTOCOL_HELLO_H

#include <cstdint>
#include <string>
#include <string_view>

namespace proto {

enum class Role : std::uint8_t { client = 1, application = 2, data = 3, snmp = 4 };

struct Hello { // hello
    std::uint16_t version = 0;
    Role role = Role::client;
    std::string name; // for the log and `status`
    std::uint32_t pid = 0;
};

struct HelloReply {
    std::uint16_t version = 0;
    std::string agent_version;
};

enum class ErrorCode : std::uint16_t {
    malformed = 1,   // the payload cannot be read
    unknown_op = 2,  // or not allowed for this role
    not_exists = 3,  // no such value, entry or rollback
    bad_path = 4,    // the path names nothing in the models
    bad_value = 5,   // the value does not fit the model
    refused = 6,     // a validation point, or the model's own rules
    no_session = 7,  // a read without a started session
    timeout = 8,     // a provider, validation point or subscriber did not answer in time
    unavailable = 9, // nobody serves this
    in_use = 10,     // somebody else holds it (point already owned, confirmed commit pending)
    failed = 11,     // the provider or handler reported a failure
    too_big = 12,    // the answer does not fit a frame
};

struct Error {
    ErrorCode code = ErrorCode::failed;
    std::string path; // the configuration or data path concerned, may be empty
    std::string text; // one line: what is wrong and, for bad input, what would be accepted
};

std::string encode(const Hello &record);
bool decode(std::string_view payload, Hello *record);
std::string encode(const HelloReply &record);
bool decode(std::string_view payload, HelloReply *record);
std::string encode(const Error &record);
bool decode(std::string_view payload, Error *record);

} // namespace proto

#endif
