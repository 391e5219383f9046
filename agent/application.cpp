#include "agent/application.h"

#include <algorithm>

#include "agent/agent.h"
#include "agent/app_state.h"
#include "service/log.h"

namespace agent {

namespace {

bool names(const std::vector<std::string> &list, const std::string &name)
{
    return std::find(list.begin(), list.end(), name) != list.end();
}

const proto::Callpoint *callpoint_of(const proto::Register &record, const std::string &name)
{
    for (const proto::Callpoint &point : record.callpoints) {
        if (point.name == name) return &point;
    }
    return nullptr;
}

bool owns(const Application &app, model::PointKind kind, const std::string &point)
{
    switch (kind) {
    case model::PointKind::validation:
        return names(app.registered.validation_points, point);
    case model::PointKind::action:
        return names(app.registered.action_points, point);
    case model::PointKind::callpoint:
        return callpoint_of(app.registered, point) != nullptr;
    }
    return false;
}

bool may_own(const Agent &agent, const std::string &app, model::PointKind kind, const std::string &point,
             proto::Error *error)
{
    if (!model::has_point(*agent.models, kind, point)) {
        *error = {proto::ErrorCode::bad_path, "", "no model names the point " + proto::printable(point)};
        return false;
    }
    for (const auto &[name, other] : agent.applications) {
        if (name == app || other.peer == 0 || !owns(other, kind, point)) continue;
        *error = {proto::ErrorCode::in_use, "", name};
        error->text.append(" owns the point ").append(point);
        return false;
    }
    return true;
}

bool acceptable(const Agent &agent, const proto::Register &record, std::vector<model::Row> *rows, proto::Error *error)
{
    if (!is_app_name(record.app)) {
        *error = {proto::ErrorCode::bad_value, "", "an application's name is letters, digits, - and _, at most 32"};
        return false;
    }
    for (const std::string &point : record.validation_points) {
        if (!may_own(agent, record.app, model::PointKind::validation, point, error)) return false;
    }
    for (const std::string &point : record.action_points) {
        if (!may_own(agent, record.app, model::PointKind::action, point, error)) return false;
    }
    for (const proto::Callpoint &point : record.callpoints) {
        if (!may_own(agent, record.app, model::PointKind::callpoint, point.name, error)) return false;
    }
    *error = {proto::ErrorCode::bad_path, "", ""};
    return model::prepare(*agent.models, record.subscriptions, rows, &error->text);
}

// Whether the connection may register under the name. A process may come back before its old connection was seen to
// end; another process may not push it out.
bool has_place(const Agent &agent, Request request, const proto::Register &record, proto::Error *error)
{
    const Applications &known = agent.applications;
    *error = {proto::ErrorCode::in_use, "", ""};
    const auto own = std::find_if(known.begin(), known.end(),
                                  [request](const auto &item) { return item.second.peer == request.peer; });
    if (own != known.end()) {
        error->text = "this connection has registered " + own->first + " already";
        return false;
    }
    const auto it = known.find(record.app);
    error->text = record.app + " is connected already";
    if (it != known.end()) return it->second.peer == 0 || it->second.registered.instance == record.instance;
    error->text = "there are " + std::to_string(max_applications) + " applications already";
    return known.size() < max_applications;
}

void take_over(Agent &agent, const std::string &name)
{
    const auto it = agent.applications.find(name);
    if (it == agent.applications.end() || it->second.peer == 0) return;
    const PeerId old = it->second.peer;
    close_peer(agent.server, old, "replaced by a newer connection of the same process");
    application_gone(agent, old);
}

} // namespace

// The agent may have ended in the middle of a list towards what is running now, which was not recorded yet: the
// application will say whether it had begun it.
void load_applications(Agent &agent)
{
    agent.applications = read_app_states(agent.store);
    for (auto &[name, app] : agent.applications) {
        if (app.interrupted.stamp.txid != 0 || app.acknowledged.stamp.txid == agent.store.running.stamp.txid) continue;
        app.interrupted = agent.store.running;
    }
}

void register_application(Agent &agent, Request request, const proto::Register &record)
{
    proto::Error error;
    std::vector<model::Row> rows;
    if (!acceptable(agent, record, &rows, &error) || !has_place(agent, request, record, &error)) {
        service::log(LOG_ERR, "%s is not registered: %s", proto::printable(record.app).c_str(), error.text.c_str());
        refuse(agent, request, error);
        return;
    }
    take_over(agent, record.app);
    Application &app = agent.applications[record.app];
    if (record.subscriptions.empty()) { // nothing is delivered to it, so nothing needs to be remembered
        remove_app_state(agent.store, record.app);
        app = {};
    }
    app.name = record.app;
    app.peer = request.peer;
    app.registered = record;
    app.rows = std::move(rows);
    answer(agent, request,
           proto::encode(proto::RegisterReply{model::tags(*agent.models), model::namespaces(*agent.models)}));
    service::log(LOG_INFO, "%s is registered: %zu subscriptions, %zu validation points, %zu callpoints",
                 app.name.c_str(), record.subscriptions.size(), record.validation_points.size(),
                 record.callpoints.size());
    begin_deliveries(agent, app);
}

void application_gone(Agent &agent, PeerId peer)
{
    const auto it = std::find_if(agent.applications.begin(), agent.applications.end(),
                                 [peer](const auto &item) { return item.second.peer == peer; });
    if (it == agent.applications.end()) return;
    Application &app = it->second;
    service::log(LOG_NOTICE, "%s is away", it->first.c_str());
    if (app.registered.subscriptions.empty()) {
        agent.applications.erase(it);
    } else {
        app.peer = 0;
        app.registered = {};
        app.rows.clear();
        app.list.reset();
        app.operational.clear();
        app.busy = false;
    }
    commit_progress(agent);
}

PeerId owner_of(const Agent &agent, model::PointKind kind, const std::string &point, std::uint8_t *calls)
{
    for (const auto &[name, app] : agent.applications) {
        if (app.peer == 0 || !owns(app, kind, point)) continue;
        if (calls != nullptr) *calls = callpoint_of(app.registered, point)->calls;
        return app.peer;
    }
    return 0;
}

} // namespace agent
