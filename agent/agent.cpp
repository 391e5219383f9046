#include "agent/agent.h"

#include "agent/dispatch.h"
#include "service/log.h"

namespace agent {

bool start_agent(Agent &agent, std::string *error)
{
    const Options &options = agent.options;
    agent.started = std::chrono::steady_clock::now();
    agent.models = model::load(options.model_dir, error);
    if (!agent.models) return false;
    agent.loop = open_loop();
    if (!agent.loop) {
        *error = "cannot make the event loop";
        return false;
    }
    // The port first: it is also what keeps a second agent away from the state directory.
    ServerEvents events;
    events.greeted = [&agent](const PeerInfo &info) { peer_greeted(agent, info); };
    events.frame = [&agent](PeerId peer, const proto::Frame &frame) { frame_came(agent, peer, frame); };
    events.gone = [&agent](PeerId peer) { peer_gone(agent, peer); };
    events.dispensable = [&agent](PeerId peer) { return is_dispensable(agent, peer); };
    agent.server = open_server(agent.loop, options.port, events, error);
    if (!agent.server) return false;
    if (!open_datastore(*agent.models, options.state_dir, options.factory, &agent.store, error)) return false;
    open_oper_store(*agent.models, options.state_dir, &agent.oper);
    load_applications(agent);
    resume_unconfirmed(agent);
    service::log(LOG_NOTICE, "serving transaction %llu on 127.0.0.1:%u",
                 static_cast<unsigned long long>(agent.store.running.stamp.txid), options.port);
    return true;
}

} // namespace agent
