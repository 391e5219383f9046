// The one record that holds the agent's state, and its life from start to end.
#ifndef GW_AGENT_AGENT_H
#define GW_AGENT_AGENT_H

#include <chrono>
#include <map>
#include <string>

#include "agent/application.h"
#include "agent/calls.h"
#include "agent/commit.h"
#include "agent/datastore.h"
#include "agent/events.h"
#include "agent/loop.h"
#include "agent/model/models.h"
#include "agent/oper_store.h"
#include "agent/operational.h"
#include "agent/options.h"
#include "agent/server.h"
#include "agent/session.h"

namespace agent {

struct Agent { // members end in reverse order: trees before the models, timers before the loop
    Options options;
    model::ModelsHandle models;
    Loop loop;
    Datastore store;
    OperStore oper;
    std::map<PeerId, Session> sessions;
    Applications applications;
    Calls calls;
    Providers providers;
    Commits commits;
    Events events;
    Server server;
    std::chrono::steady_clock::time_point started;
};

// Loads models, configuration and the applications' state, then listens. False with *error set.
bool start_agent(Agent &agent, std::string *error);

} // namespace agent

#endif
