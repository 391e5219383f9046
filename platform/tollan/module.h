// One registered daemon.
#ifndef GW_PLATFORM_TOLLAN_MODULE_H
#define GW_PLATFORM_TOLLAN_MODULE_H

#include <event2/event.h>

#include <cstddef>
#include <cstdint>
#include <memory>

#include "platform/confd/provider.h"
#include "platform/tollan/link.h"
#include "tollan.h"

namespace tollan {

struct FreeEvent {
    void operator()(event *e) const { event_free(e); }
};
using Event = std::unique_ptr<event, FreeEvent>;

struct Module {
    tollan_ctx handle = {}; // first: callers hold a pointer to it
    confd::DaemonContext dx;
    TollanModuleParams params = {};
    std::size_t rows = 0; // of the subscription table
    Link link;
    Event reader; // of the link's socket, as the writer
    Event writer;
    Event timer; // of the next attempt, or of an attempt that gets no answer
    Event waker;
    bool held = true;    // no delivery yet: the loop does not run
    bool broken = false; // the connection is to be given up
    int retry_seconds = 1;
    std::uint64_t last_txid = 0; // see proto::Register
    std::uint32_t last_done = 0;
};

} // namespace tollan

#endif
