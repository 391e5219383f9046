// Values and keypaths between the C records and the protocol's.
#ifndef GW_PLATFORM_CONFD_CONVERT_H
#define GW_PLATFORM_CONFD_CONVERT_H

#include <deque>
#include <string>
#include <vector>

#include "confd.h"
#include "protocol/value.h"

namespace confd {

// What C values point to: they are good until it goes. Deques, so that growth moves nothing.
struct Arena {
    std::deque<std::string> texts;
    std::deque<std::vector<confd_value_t>> lists;
};

// Text becomes C_BUF with a NUL behind it, whatever it was called on the way.
confd_value_t to_c(const proto::Value &value, Arena *arena);
std::vector<confd_value_t> to_c(const std::vector<proto::Value> &values, Arena *arena);
std::vector<confd_tag_value_t> to_c(const std::vector<proto::TagValue> &values, Arena *arena);
// False when the path is deeper or has more keys than the record holds.
bool to_c(const proto::KeyPath &path, Arena *arena, confd_hkeypath_t *out);

// False for what cannot travel: a null pointer, a type that does not exist, a number out of range, a list in a list.
bool from_c(const confd_value_t &value, proto::Value *out);
bool from_c(const confd_value_t *values, int n, std::vector<proto::Value> *out);
bool from_c(const confd_tag_value_t *values, int n, std::vector<proto::TagValue> *out);

} // namespace confd

#endif
