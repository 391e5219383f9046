// What the callbacks of a data provider and of a validation point are called with, and the one reply of each.
#ifndef GW_PLATFORM_CONFD_PROVIDER_H
#define GW_PLATFORM_CONFD_PROVIDER_H

#include <chrono>
#include <cstddef>
#include <string>
#include <vector>

#include "confd.h"
#include "protocol/application.h"

namespace confd {

// The C record stands first in both: the library goes back from the handle to the whole.
struct DaemonContext {
    confd_daemon_ctx handle;
    std::vector<confd_data_cbs> callbacks;
};

struct Transaction {
    confd_trans_ctx handle;
    proto::DataCall call = proto::DataCall::get_elem;
    bool replied = false;
    proto::DataReply reply;
    std::size_t bytes = 0; // of the reply, on the wire
    std::string text;      // of confd_trans_seterr
};

inline constexpr std::size_t max_answer = 256UL * 1024;  // bytes of one reply on the wire
inline constexpr std::size_t walk_bytes = 64UL * 1024;   // a walk pauses, for others to be served, after so many bytes
inline constexpr std::chrono::milliseconds walk_turn{2}; // or after this time

// The replies of the callbacks that one call_data asks for. One that gives none counts as a failure that says why.
proto::DataReplies answer_call(DaemonContext *context, const proto::CallData &call);

} // namespace confd

#endif
