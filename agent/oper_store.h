// Operational values that applications wrote. They survive a restart of the agent, not of the machine.
#ifndef GW_AGENT_OPER_STORE_H
#define GW_AGENT_OPER_STORE_H

#include <string>

#include "agent/model/handles.h"
#include "agent/model/models.h"
#include "agent/model/paths.h"
#include "protocol/hello.h"
#include "protocol/value.h"

namespace agent {

struct OperStore {
    const model::Models *models = nullptr;
    std::string dir;
    std::string boot_id;
    model::Snapshot tree;
};

void open_oper_store(const model::Models &models, const std::string &dir, OperStore *store);
// *changed is false when the value was there already.
bool set_oper(OperStore &store, const model::Target &target, const proto::Value &value, bool *changed,
              proto::Error *error);

} // namespace agent

#endif
