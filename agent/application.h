// Applications: what they registered, and the delivery of changes to them, each change exactly once.
//
// Per application the state directory holds app-NAME.state (the process that acknowledged last, which transaction it
// acknowledged, and which one it was interrupted in) and app-NAME.N.json, the configurations of those two
// transactions: copies, since what such an application has must still be known after running.json was damaged and an
// older rollback took its place. The state file is the truth; it is replaced by one rename after the last handler of a
// list returned.
//
// A list is the calls from the acknowledged tree to a target. It is computed, never stored: the same trees give the
// same list, so an application that reports how many calls of which transaction have returned gets exactly the others.
// The target of an unfinished list need not be recorded while it is the running configuration; record_targets() does
// that before another one takes its place.
#ifndef GW_AGENT_APPLICATION_H
#define GW_AGENT_APPLICATION_H

#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "agent/datastore.h"
#include "agent/model/deliveries.h"
#include "agent/request.h"
#include "protocol/application.h"
#include "protocol/client.h"

namespace agent {

struct DeliveryList {
    Version target;
    std::vector<proto::Deliver> calls;
    std::size_t next = 0;
};

struct Application {
    std::string name;
    // on disk
    std::uint64_t instance = 0; // of the process that acknowledged
    Version acknowledged;       // transaction 0: none
    Version interrupted;        // target of an unfinished list, transaction 0: none
    bool recorded = false;      // whether the disk knows of it
    // the connection
    PeerId peer = 0; // 0: away
    proto::Register registered;
    std::vector<model::Row> rows;
    std::optional<DeliveryList> list;
    std::deque<proto::Deliver> operational; // these are never repeated
    bool busy = false;                      // a delivery is with the application
    std::deque<proto::Remark> remarks;      // failures since a commit began to be delivered, the newest ones
    std::size_t remarks_dropped = 0;
};

inline constexpr std::size_t max_applications = 16; // connected or remembered

// One without subscriptions is forgotten when it leaves.
using Applications = std::map<std::string, Application>;

void load_applications(Agent &agent);
void register_application(Agent &agent, Request request, const proto::Register &record);
void application_gone(Agent &agent, PeerId peer);

// After a registration: the first list continues where the application says it was.
void begin_deliveries(Agent &agent, Application &app);
// Sends what is due, if anything. Commits look themselves whether they can go on (see commit_progress).
void pump(Agent &agent, Application &app);
bool in_step(const Agent &agent, const Application &app);
// To be called before a commit replaces the running configuration.
void record_targets(Agent &agent);
// A write session that changed operational values has ended.
void operational_written(Agent &agent, const lyd_node *before, const lyd_node *after);

// Who serves a point; 0: nobody. `calls` gets the DataCalls of a callpoint (bits).
PeerId owner_of(const Agent &agent, model::PointKind kind, const std::string &point, std::uint8_t *calls = nullptr);

} // namespace agent

#endif
