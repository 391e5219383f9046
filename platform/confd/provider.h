// What the callbacks of a data provider and of a validation point are called with, and the one reply of each.
#ifndef GW_PLATFORM_CONFD_PROVIDER_H
#define GW_PLATFORM_CONFD_PROVIDER_H

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
    std::string reply; // the encoded DataReply
    std::string text;  // of confd_trans_seterr
};

// The encoded answer to one call_data: what the callback replied, or a failure that says why there is nothing.
std::string answer_call(DaemonContext *context, const proto::CallData &call);

} // namespace confd

#endif
