#include <algorithm>

#include "agent/agent.h"
#include "agent/app_state.h"
#include "agent/application.h"
#include "agent/killpoint.h"
#include "protocol/value.h"
#include "service/log.h"
#include "service/text.h"

namespace agent {

namespace {

constexpr std::size_t max_operational = 64;
constexpr std::size_t max_remarks = 16;
constexpr std::size_t max_remark = 200; // bytes

void remark(Application &app, const std::string &text)
{
    service::log(LOG_WARNING, "%s: %s", app.name.c_str(), text.c_str());
    app.remarks.push_back({"", app.name + ": " + text});
    if (app.remarks.size() <= max_remarks) return;
    app.remarks.pop_front();
    app.remarks_dropped++;
}

// Which list comes next. The first one after a registration continues where the application says it was.
void start_list(Agent &agent, Application &app, std::uint64_t last_txid, std::uint32_t last_done)
{
    const bool fresh = app.registered.instance != app.instance;
    const Version &latest = agent.store.running;
    const std::uint64_t interrupted = app.interrupted.stamp.txid;
    DeliveryList list;
    list.target = interrupted != 0 && interrupted == last_txid ? app.interrupted : latest;
    if (fresh && interrupted != 0 && interrupted != list.target.stamp.txid) fold_interrupted(agent.store, app);

    const lyd_node *before = app.acknowledged.tree.get();
    const lyd_node *after = list.target.tree.get();
    list.calls = fresh ? model::first_delivery(*agent.models, app.rows, before, after)
                       : model::difference(*agent.models, app.rows, before, after);
    for (proto::Deliver &call : list.calls)
        call.txid = list.target.stamp.txid;
    if (last_txid == list.target.stamp.txid) list.next = std::min<std::size_t>(last_done, list.calls.size());
    if (app.interrupted.stamp.txid != list.target.stamp.txid) {
        app.interrupted = list.target;
        app.recorded = false;
    }
    app.list = std::move(list);
}

// The last handler has returned: the acknowledged tree moves.
void finish_list(Agent &agent, Application &app)
{
    kill_point("before-acknowledge");
    app.instance = app.registered.instance;
    app.acknowledged = app.list->target;
    app.interrupted = {};
    app.recorded = false;
    app.list.reset();
    std::string error;
    if (app.registered.subscriptions.empty()) return;
    if (!write_app_state(agent.store, app, &error)) remark(app, "not remembered as delivered: " + error);
}

// What is wrong with an answer, empty: nothing. *over: the application is not fit for the next delivery.
std::string complaint(const Answer &answer, bool *over)
{
    proto::Status status;
    *over = false;
    if (answer.unsent) return "a delivery is skipped: " + answer.error.text; // nor would it fit the next time
    const bool readable = answer.ok && proto::decode(answer.payload, &status);
    *over = !readable;
    if (!answer.ok) return "a delivery failed: " + service::cut_text(proto::printable(answer.error.text), max_remark);
    if (!readable) return "its answer cannot be read";
    return status.status == 0 ? "" : "a handler reported failure " + std::to_string(status.status);
}

// What goes wrong with operational values is nothing that a committer could mend.
void delivered(Agent &agent, Application &app, const Answer &answer, bool of_list)
{
    if (answer.gone) return; // see application_gone
    bool over = false;
    const std::string text = complaint(answer, &over);
    if (!text.empty() && of_list) remark(app, text);
    if (!text.empty() && !of_list) service::log(LOG_WARNING, "%s: %s", app.name.c_str(), text.c_str());
    app.busy = over; // until the connection is down
    if (over) close_peer(agent.server, app.peer, "its deliveries start again when it is back");
}

void send_call(Agent &agent, Application &app, const proto::Deliver &call, bool of_list)
{
    app.busy = true;
    call_peer(agent, app.peer, proto::Op::deliver, proto::encode(call), delivery_limit,
              [&agent, name = app.name, peer = app.peer, of_list](const Answer &answer) {
                  const auto it = agent.applications.find(name);
                  if (it == agent.applications.end() || it->second.peer != peer) return;
                  Application &to = it->second;
                  delivered(agent, to, answer, of_list);
                  if (to.busy) return;
                  if (of_list && ++to.list->next < to.list->calls.size()) kill_point("between-deliveries");
                  pump(agent, to);
                  commit_progress(agent);
              });
}

} // namespace

bool in_step(const Agent &agent, const Application &app)
{
    return !app.list && app.instance == app.registered.instance &&
           app.acknowledged.stamp.txid == agent.store.running.stamp.txid;
}

void begin_deliveries(Agent &agent, Application &app)
{
    if (!in_step(agent, app)) start_list(agent, app, app.registered.last_txid, app.registered.last_done);
    pump(agent, app);
    commit_progress(agent);
}

void pump(Agent &agent, Application &app)
{
    while (app.peer != 0 && !app.busy) {
        if (app.list && app.list->next < app.list->calls.size()) {
            send_call(agent, app, app.list->calls[app.list->next], true);
        } else if (app.list) {
            finish_list(agent, app);
        } else if (!app.operational.empty()) {
            send_call(agent, app, app.operational.front(), false);
            app.operational.pop_front();
        } else if (!in_step(agent, app)) {
            start_list(agent, app, 0, 0);
        } else {
            return;
        }
    }
}

void record_targets(Agent &agent)
{
    for (auto &[name, app] : agent.applications) {
        if (app.interrupted.stamp.txid == 0 || app.recorded) continue;
        std::string error;
        app.recorded = write_app_state(agent.store, app, &error);
        if (!app.recorded) service::log(LOG_ERR, "%s: %s", name.c_str(), error.c_str());
    }
}

void operational_written(Agent &agent, const lyd_node *before, const lyd_node *after)
{
    for (auto &[name, app] : agent.applications) {
        if (app.peer == 0) continue;
        for (proto::Deliver &call : model::operational_change(*agent.models, app.rows, before, after)) {
            if (app.operational.size() >= max_operational) {
                service::log(LOG_WARNING, "%s does not keep up with operational changes: one is dropped", name.c_str());
                app.operational.pop_front();
            }
            app.operational.push_back(std::move(call));
        }
        pump(agent, app);
    }
}

} // namespace agent
