#include "agent/events.h"

#include <chrono>

#include "agent/agent.h"
#include "agent/model/render.h"
#include "protocol/value.h"
#include "service/log.h"

namespace agent {

namespace {

proto::Event make_event(std::uint32_t kind, std::string name)
{
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return {kind, std::chrono::duration_cast<std::chrono::milliseconds>(now).count(), std::move(name), {}};
}

void send_event(Agent &agent, PeerId peer, const proto::Event &event)
{
    const std::string payload = proto::encode(event);
    if (proto::fits_frame(payload.size())) send_frame(agent.server, peer, proto::Op::event, 0, payload);
}

// True when somebody got it who passes traps on to managers.
bool tell(Agent &agent, const proto::Event &event)
{
    bool passed_on = false;
    for (const auto &[peer, session] : agent.sessions) {
        if ((session.watch & event.kind) == 0) continue;
        send_event(agent, peer, event);
        passed_on = passed_on || session.role == proto::Role::snmp;
    }
    return passed_on;
}

} // namespace

void set_watch(Agent &agent, PeerId peer, std::uint32_t mask)
{
    Session &session = agent.sessions.at(peer);
    session.watch = mask;
    if (session.role != proto::Role::snmp || (mask & proto::watch_traps) == 0) return;
    for (const proto::Event &event : agent.events.kept_traps)
        send_event(agent, peer, event);
    agent.events.kept_traps.clear();
}

void notification_came(Agent &agent, const proto::Notify &record)
{
    proto::Event event = make_event(proto::watch_notifications, "");
    std::string error;
    if (!model::notification_text(*agent.models, record.values, &event.name, &event.pairs, &error)) {
        service::log(LOG_WARNING, "a notification is dropped: %s", error.c_str());
    } else {
        tell(agent, event);
    }
}

void trap_came(Agent &agent, const proto::Trap &record)
{
    proto::Event event = make_event(proto::watch_traps, proto::printable(record.name));
    for (const proto::Pair &pair : record.bindings)
        event.pairs.push_back({proto::printable(pair.name), proto::printable(pair.value)});
    if (tell(agent, event)) return;
    std::deque<proto::Event> &kept = agent.events.kept_traps;
    kept.push_back(std::move(event));
    if (kept.size() <= max_kept_traps) return;
    kept.pop_front();
    agent.events.dropped_traps++;
}

void committed(Agent &agent, const lyd_node *before, const lyd_node *after)
{
    bool watched = false;
    for (const auto &[peer, session] : agent.sessions)
        watched = watched || (session.watch & proto::watch_commits) != 0;
    if (!watched) return;
    proto::Event event = make_event(proto::watch_commits, "commit");
    for (const proto::Change &change : model::changes(before, after))
        event.pairs.push_back({change.path, change.after});
    tell(agent, event);
}

} // namespace agent
