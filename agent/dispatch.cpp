#include "agent/dispatch.h"

#include <algorithm>
#include <iterator>

#include "agent/handlers.h"

namespace agent {

namespace {

constexpr unsigned bit(proto::Role role)
{
    return 1U << static_cast<unsigned>(role);
}

constexpr unsigned client = bit(proto::Role::client);
constexpr unsigned application = bit(proto::Role::application);
constexpr unsigned data = bit(proto::Role::data);
constexpr unsigned snmp = bit(proto::Role::snmp);

struct Row {
    proto::Op op;
    unsigned roles;
    Handler *run;
};

// clang-format off
constexpr Row operations[] = {
    {proto::Op::get,             client | snmp, on_get},
    {proto::Op::edit,            client,        on_edit},
    {proto::Op::load,            client,        on_load},
    {proto::Op::discard,         client,        on_discard},
    {proto::Op::diff,            client,        on_diff},
    {proto::Op::validate,        client,        on_validate},
    {proto::Op::commit,          client,        on_commit},
    {proto::Op::confirm,         client,        on_confirm},
    {proto::Op::abort_confirmed, client,        on_abort},
    {proto::Op::rollback,        client,        on_rollback},
    {proto::Op::rollbacks,       client,        on_rollbacks},
    {proto::Op::complete,        client,        on_complete},
    {proto::Op::action,          client,        on_action},
    {proto::Op::watch,           client | snmp, on_watch},
    {proto::Op::status,          client | snmp, on_status},
    {proto::Op::cdb_start,       data,          on_cdb_start},
    {proto::Op::cdb_end,         data,          on_cdb_end},
    {proto::Op::cdb_get,         data,          on_cdb_get},
    {proto::Op::cdb_case,        data,          on_cdb_case},
    {proto::Op::cdb_exists,      data,          on_cdb_exists},
    {proto::Op::cdb_count,       data,          on_cdb_count},
    {proto::Op::cdb_cd,          data,          on_cdb_cd},
    {proto::Op::cdb_namespace,   data,          on_cdb_namespace},
    {proto::Op::cdb_set,         data,          on_cdb_set},
    {proto::Op::register_app,    application,   on_register},
    {proto::Op::notify,          application,   on_notify},
    {proto::Op::trap,            application,   on_trap},
};
// clang-format on

void settle(Agent &agent, Request request)
{
    const auto it = agent.sessions.find(request.peer);
    if (it != agent.sessions.end() && it->second.waiting > 0) it->second.waiting--;
}

} // namespace

void peer_greeted(Agent &agent, const PeerInfo &info)
{
    agent.sessions[info.id].role = info.role;
}

void frame_came(Agent &agent, PeerId peer, const proto::Frame &frame)
{
    if (frame.op == proto::Op::reply || frame.op == proto::Op::error) {
        take_answer(agent, peer, frame);
        return;
    }
    if (frame.id == 0 && frame.op != proto::Op::notify && frame.op != proto::Op::trap) {
        close_peer(agent.server, peer, "a request whose answer it does not want");
        return;
    }
    Session &session = agent.sessions.at(peer);
    const Request request{peer, frame.id};
    session.waiting++;
    const Row *row = std::find_if(std::begin(operations), std::end(operations),
                                  [&frame](const Row &candidate) { return candidate.op == frame.op; });
    if (row == std::end(operations) || (row->roles & bit(session.role)) == 0) {
        refuse(agent, request, proto::ErrorCode::unknown_op, "this connection may not use that operation");
    } else if (session.waiting > max_waiting) {
        refuse(agent, request, proto::ErrorCode::in_use, "too many requests of this connection are waiting");
    } else {
        row->run(agent, request, frame.payload);
    }
}

bool is_dispensable(const Agent &agent, PeerId peer)
{
    const auto it = agent.sessions.find(peer);
    if (it == agent.sessions.end()) return true;
    const Session &session = it->second;
    return session.waiting == 0 && session.watch == 0 && !session.has_candidate;
}

void peer_gone(Agent &agent, PeerId peer)
{
    const auto it = agent.sessions.find(peer);
    if (it == agent.sessions.end()) return;
    end_data_session(agent, it->second.data);
    agent.sessions.erase(it);
    application_gone(agent, peer);
    fail_calls_of(agent, peer);
}

void answer(Agent &agent, Request request, std::string_view payload)
{
    if (!proto::fits_frame(payload.size())) {
        refuse(agent, request, proto::ErrorCode::too_big, "the answer is too long: ask for a part of it");
        return;
    }
    settle(agent, request);
    if (request.id != 0) send_frame(agent.server, request.peer, proto::Op::reply, request.id, payload);
}

void refuse(Agent &agent, Request request, const proto::Error &error)
{
    settle(agent, request);
    if (request.id != 0) send_frame(agent.server, request.peer, proto::Op::error, request.id, proto::encode(error));
}

void refuse(Agent &agent, Request request, proto::ErrorCode code, const std::string &text)
{
    refuse(agent, request, proto::Error{code, "", text});
}

} // namespace agent
