#include <cstdio>
#include <cstring>

#include "agent/handlers.h"

namespace agent {

namespace {

const char *name_of(proto::Role role)
{
    switch (role) {
    case proto::Role::client:
        return "client";
    case proto::Role::application:
        return "application";
    case proto::Role::data:
        return "data";
    case proto::Role::snmp:
        return "snmp";
    }
    return "?";
}

// By a clock that nobody sets.
std::string seconds_since(std::chrono::steady_clock::time_point then)
{
    const auto passed = std::chrono::steady_clock::now() - then;
    return std::to_string(std::chrono::duration_cast<std::chrono::seconds>(passed).count());
}

std::string resident_kib()
{
    unsigned long kib = 0;
    char line[128];
    FILE *file = fopen("/proc/self/status", "re");
    if (file == nullptr) return "unknown";
    while (fgets(line, sizeof line, file) != nullptr && sscanf(line, "VmRSS: %lu", &kib) != 1) { // NOLINT(cert-err34-c)
    }
    fclose(file);
    return std::to_string(kib);
}

std::string state_of(const Agent &agent, const Application &app)
{
    const std::string at = "transaction " + std::to_string(app.acknowledged.stamp.txid);
    if (app.peer == 0) return "away, acknowledged " + at;
    const std::string calls = std::to_string(app.registered.subscriptions.size()) + " subscriptions";
    if (in_step(agent, app)) return "in step, " + at + ", " + calls;
    const std::string done =
        app.list ? std::to_string(app.list->next) + " of " + std::to_string(app.list->calls.size()) : "none";
    return "catching up, acknowledged " + at + ", " + done + " delivered, " + calls;
}

void add_applications(const Agent &agent, std::vector<proto::Pair> *pairs)
{
    for (const auto &[name, app] : agent.applications)
        pairs->push_back({"application " + name, state_of(agent, app)});
}

void add_peers(const Agent &agent, std::vector<proto::Pair> *pairs)
{
    const std::vector<PeerInfo> list = peers(agent.server);
    pairs->push_back({"peers", std::to_string(list.size())});
    for (const PeerInfo &peer : list) {
        pairs->push_back({"peer " + std::to_string(peer.id),
                          std::string(name_of(peer.role)) + " " + peer.name + "[" + std::to_string(peer.pid) + "], " +
                              seconds_since(peer.since) + " s, " + std::to_string(peer.queued) + " bytes unread"});
    }
}

std::string confirmation(const Unconfirmed &waiting)
{
    if (waiting.txid == 0) return "none";
    if (!waiting.timer) return "transaction " + std::to_string(waiting.txid) + ", being delivered";
    const auto left = waiting.deadline - std::chrono::steady_clock::now();
    return "transaction " + std::to_string(waiting.txid) + ", " +
           std::to_string(std::chrono::duration_cast<std::chrono::seconds>(left).count()) + " s left";
}

} // namespace

void on_status(Agent &agent, Request request, std::string_view /*payload*/)
{
    const std::size_t running = agent.commits.active ? 1 : 0;
    proto::Pairs status;
    status.pairs = {
        {"version",         GW_VERSION                                          },
        {"uptime",          seconds_since(agent.started)                        },
        {"resident-kib",    resident_kib()                                      },
        {"transaction",     std::to_string(agent.store.running.stamp.txid)      },
        {"rollbacks",       std::to_string(agent.store.history.size())          },
        {"unconfirmed",     confirmation(agent.commits.unconfirmed)             },
        {"commits-waiting", std::to_string(agent.commits.queue.size() + running)},
        {"calls-waiting",   std::to_string(agent.calls.pending.size())          },
        {"traps-kept",      std::to_string(agent.events.kept_traps.size())      },
        {"traps-dropped",   std::to_string(agent.events.dropped_traps)          },
    };
    add_applications(agent, &status.pairs);
    add_peers(agent, &status.pairs);
    answer(agent, request, proto::encode(status));
}

} // namespace agent
