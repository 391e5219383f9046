// Builders of what a data provider answers with. Tags carry namespace 0: the callpoint's own. Text is referenced, not
// copied: it must live until the reply was sent.
#ifndef GW_CORE_BASE_TAG_VALUES_H
#define GW_CORE_BASE_TAG_VALUES_H

#include <cstdint>

#include "confd.h"

confd_value_t text_value(const char *text); // C_STR
confd_value_t int32_value(std::int32_t number);
confd_value_t uint16_value(std::uint16_t number);
confd_value_t uint32_value(std::uint32_t number);
confd_value_t uint64_value(std::uint64_t number);
confd_value_t enum_value(std::int32_t number);
confd_value_t ipv4_value(in_addr address);
confd_value_t ipv6_value(const in6_addr &address);
confd_value_t binary_value(const void *bytes, std::uint32_t size); // C_BINARY
confd_value_t xml_begin(std::uint32_t tag, std::uint32_t ns);
confd_value_t xml_end(std::uint32_t tag, std::uint32_t ns);

confd_tag_value_t tag_value(std::uint32_t tag, confd_value_t value);

inline constexpr int tag_array_capacity = 128;

// Entries in the order in which they were put. What an answer holds follows from the model and never from how much
// something outside says, so that one too many (the longest has about thirty) is a fault of the caller.
struct TagArray {
    confd_tag_value_t entries[tag_array_capacity];
    int count = 0;
};

void put(TagArray &array, std::uint32_t tag, confd_value_t value);

#endif
