// What an application reads and writes over a data connection: configuration snapshots and operational values.
// Requests outside a session are refused. See hello.h for encode() and decode().
#ifndef GW_PROTOCOL_DATA_H
#define GW_PROTOCOL_DATA_H

#include <cstdint>
#include <string>
#include <string_view>

#include "protocol/value.h"

namespace proto {

enum class Database : std::uint8_t { running = 1, operational = 3 };

struct CdbStart { // cdb_start
    Database database = Database::running;
    std::uint32_t flags = 0; // lock flags, accepted and never waited for
};

struct CdbPath { // cdb_get (answered by CdbValue), cdb_exists, cdb_count (answered by CdbCount), cdb_cd
    std::string path;
};

struct CdbCase { // cdb_case, answered by CdbValue with an xmltag
    std::string choice;
    std::string path; // of the node that holds the choice
};

struct CdbNamespace { // cdb_namespace
    std::uint32_t ns = 0;
};

struct CdbSet { // cdb_set: operational only
    std::string path;
    Value value;
};

struct CdbValue {
    Value value;
};

struct CdbCount {
    std::int32_t count = 0; // cdb_exists: 1 or 0
};

std::string encode(const CdbStart &record);
bool decode(std::string_view payload, CdbStart *record);
std::string encode(const CdbPath &record);
bool decode(std::string_view payload, CdbPath *record);
std::string encode(const CdbCase &record);
bool decode(std::string_view payload, CdbCase *record);
std::string encode(const CdbNamespace &record);
bool decode(std::string_view payload, CdbNamespace *record);
std::string encode(const CdbSet &record);
bool decode(std::string_view payload, CdbSet *record);
std::string encode(const CdbValue &record);
bool decode(std::string_view payload, CdbValue *record);
std::string encode(const CdbCount &record);
bool decode(std::string_view payload, CdbCount *record);

} // namespace proto

#endif
