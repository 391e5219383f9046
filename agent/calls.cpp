#include "agent/calls.h"

#include <vector>

#include "agent/agent.h"

namespace agent {

namespace {

void finish(Agent &agent, std::uint32_t id, const Answer &answer)
{
    auto node = agent.calls.pending.extract(id);
    if (!node.empty()) node.mapped().then(answer);
}

} // namespace

void call_peer(Agent &agent, PeerId peer, proto::Op op, std::string_view payload, std::chrono::seconds limit,
               Continue then)
{
    do {
        agent.calls.last_id++;
    } while (agent.calls.last_id == 0 || agent.calls.pending.contains(agent.calls.last_id));
    const std::uint32_t id = agent.calls.last_id;
    Call &call = agent.calls.pending[id];
    call.peer = peer;
    call.then = std::move(then);
    std::chrono::milliseconds wait = limit;
    call.on_timer.unsent = !proto::fits_frame(payload.size());
    call.on_timer.gone = !call.on_timer.unsent && !send_frame(agent.server, peer, op, id, payload);
    if (call.on_timer.unsent) {
        call.on_timer.error = {proto::ErrorCode::too_big, "", "it is longer than a message can be"};
    } else if (call.on_timer.gone) {
        call.on_timer.error = {proto::ErrorCode::unavailable, "", "the application is not connected"};
    } else {
        call.on_timer.error = {proto::ErrorCode::timeout, "",
                               "no answer within " + std::to_string(limit.count()) + " s"};
    }
    if (call.on_timer.unsent || call.on_timer.gone) wait = std::chrono::milliseconds(0);
    call.timer = start_timer(agent.loop, wait, [&agent, id] {
        const Answer late = agent.calls.pending[id].on_timer;
        finish(agent, id, late);
    });
}

void take_answer(Agent &agent, PeerId from, const proto::Frame &frame)
{
    const auto it = agent.calls.pending.find(frame.id);
    if (it == agent.calls.pending.end() || it->second.peer != from) return;
    Answer answer;
    answer.ok = frame.op == proto::Op::reply;
    if (answer.ok) {
        answer.payload = frame.payload;
    } else if (!proto::decode(frame.payload, &answer.error)) {
        answer.error = {proto::ErrorCode::malformed, "", "the answer cannot be read"};
    }
    finish(agent, frame.id, answer);
}

void fail_calls_of(Agent &agent, PeerId gone)
{
    std::vector<std::uint32_t> ids;
    for (const auto &[id, call] : agent.calls.pending) {
        if (call.peer == gone) ids.push_back(id);
    }
    Answer answer;
    answer.error = {proto::ErrorCode::unavailable, "", "the application has disconnected"};
    answer.gone = true;
    for (const std::uint32_t id : ids)
        finish(agent, id, answer);
}

} // namespace agent
