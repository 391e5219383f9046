// Sessions of several peers with the agent: what each says, in any order, as the dispatch gets it, with the server
// behind it replaced. However it goes, each request gets one answer, nothing is left open once everybody has gone, and
// the configuration on disk is the one that runs.
//
// An input is steps of PEER OPERATION LENGTH-HIGH LENGTH-LOW PAYLOAD. PEER: its low bits choose one of the peers below,
// 0x40 says that no answer is wanted. OPERATION 0: the peer leaves, and comes back as another. A reply or error answers
// the oldest question of the agent to that peer.
#include <deque>
#include <map>
#include <set>
#include <utility>

#include <event2/event.h>

#include "agent/agent.h"
#include "agent/dispatch.h"
#include "agent/model/render.h"
#include "quiet.h"
#include "target.h"

namespace agent {

// The server's place is taken by this record.
struct ServerState {
    std::map<PeerId, std::deque<std::pair<proto::Op, std::uint32_t>>> questions; // of the agent, by living peer
    std::set<std::pair<PeerId, std::uint32_t>> open;                             // requests without an answer
    std::set<PeerId> closing;
};

void ServerDelete::operator()(ServerState *state) const
{
    delete state;
}

bool send_frame(const Server &server, PeerId peer, proto::Op op, std::uint32_t id, std::string_view payload)
{
    require(proto::fits_frame(payload.size()));
    const auto it = server->questions.find(peer);
    if (it == server->questions.end() || server->closing.contains(peer)) return false;
    if (op == proto::Op::reply || op == proto::Op::error) {
        require(server->open.erase({peer, id}) == 1);
    } else if (op != proto::Op::event) {
        it->second.emplace_back(op, id);
    }
    return true;
}

void close_peer(const Server &server, PeerId peer, const char * /*why*/)
{
    if (server->questions.contains(peer)) server->closing.insert(peer);
}

std::vector<PeerInfo> peers(const Server & /*server*/)
{
    return {};
}

} // namespace agent

namespace {

using proto::Op;
using proto::Role;

constexpr Role roles[] = {Role::client, Role::client, Role::application, Role::data, Role::snmp, Role::application};
constexpr std::size_t peer_count = std::size(roles);

struct Bench {
    Folder folder;
    agent::Agent agent;
    agent::PeerId peers[peer_count] = {};
    agent::PeerId last_peer = 0;
    std::uint32_t last_id = 0;
};

// As start_agent() does in an empty folder, with the server's place taken.
void start(Bench &bench)
{
    agent::Agent &agent = bench.agent;
    std::string error;
    agent.loop = agent::open_loop();
    agent.server.reset(new agent::ServerState);
    require(
        open_datastore(*agent.models, bench.folder.path, GW_SOURCE_DIR "/agent/factory.json", &agent.store, &error));
    open_oper_store(*agent.models, bench.folder.path, &agent.oper);
}

void come(Bench &bench, std::size_t at)
{
    agent::PeerInfo info;
    info.id = bench.peers[at] = ++bench.last_peer;
    info.role = roles[at];
    bench.agent.server->questions[info.id];
    peer_greeted(bench.agent, info);
}

void leave(Bench &bench, std::size_t at)
{
    agent::ServerState &server = *bench.agent.server;
    const agent::PeerId id = bench.peers[at];
    server.questions.erase(id);
    server.closing.erase(id);
    std::erase_if(server.open, [id](const auto &request) { return request.first == id; });
    peer_gone(bench.agent, id);
}

// What is due by itself: the timers of calls that could not be sent, and connections that the agent has closed.
void settle(Bench &bench)
{
    event_base_loop(base_of(bench.agent.loop), EVLOOP_NONBLOCK);
    for (std::size_t at = 0; at < peer_count; at++) {
        if (!bench.agent.server->closing.contains(bench.peers[at])) continue;
        leave(bench, at);
        come(bench, at);
    }
}

void act(Bench &bench, std::string_view *input)
{
    const std::uint8_t who = take_byte(input);
    const std::size_t at = (who & 0x3fU) % peer_count;
    const std::uint8_t operation = take_byte(input);
    const std::string payload = take_sized(input);
    const auto op = static_cast<Op>(operation);
    if (operation == 0) {
        leave(bench, at);
        come(bench, at);
    }
    if (!proto::is_op(operation) || op == Op::hello) return; // the server's business
    const agent::PeerId peer = bench.peers[at];
    std::uint32_t id = (who & 0x40U) != 0 ? 0 : ++bench.last_id;
    auto &questions = bench.agent.server->questions[peer];
    if (op == Op::reply || op == Op::error) {
        id = questions.empty() ? 0xffffffff : questions.front().second;
        if (!questions.empty()) questions.pop_front();
    } else if (id != 0) {
        bench.agent.server->open.insert({peer, id});
    }
    frame_came(bench.agent, peer, {op, id, payload});
}

// Applications first: whoever waits for one gets an answer by that.
void end_session(Bench &bench)
{
    agent::Agent &agent = bench.agent;
    for (const std::size_t at : {2, 5})
        leave(bench, at);
    for (int i = 0; i < 100 && !agent.calls.pending.empty(); i++)
        event_base_loop(base_of(agent.loop), EVLOOP_ONCE);
    require(agent.calls.pending.empty() && agent.server->open.empty() && agent.providers.busy.empty());
    require(!agent.commits.active && agent.commits.queue.empty());
    for (const std::size_t at : {0, 1, 3, 4})
        leave(bench, at);
    require(agent.sessions.empty());
}

void check_disk(const Bench &bench)
{
    agent::Version stored;
    std::string why;
    const agent::Datastore &store = bench.agent.store;
    require(read_version(store, "running.json", &stored, &why) && stored.stamp.txid == store.running.stamp.txid);
    require(model::identical(stored.tree.get(), store.running.tree.get()));
}

} // namespace

void check(std::string_view input)
{
    static std::string error;
    static model::ModelsHandle models = model::load(GW_SOURCE_DIR "/yang", &error);
    Bench bench;
    bench.agent.models.swap(models); // lent, as loading them takes longest
    start(bench);
    for (std::size_t at = 0; at < peer_count; at++)
        come(bench, at);
    while (input.size() >= 4) {
        act(bench, &input);
        settle(bench);
    }
    end_session(bench);
    check_disk(bench);
    bench.agent.models.swap(models);
}
