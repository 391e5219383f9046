#include <algorithm>

#include "agent/handlers.h"
#include "agent/model/complete.h"
#include "agent/model/edit.h"
#include "agent/model/render.h"
#include "service/log.h"
#include "service/text.h"

namespace agent {

namespace {

bool is_config(const lysc_node *node)
{
    return node == nullptr || (node->flags & LYS_CONFIG_W) != 0;
}

// One node that the words name, not all of its kind.
bool is_single(const model::Target &target)
{
    const lysc_node *schema = model::schema_of(target);
    if (schema == nullptr) return false;
    return schema->nodetype == LYS_LEAF || ((schema->nodetype & (LYS_LIST | LYS_LEAFLIST)) != 0 &&
                                            (!target.steps.back().keys.empty() || target.steps.back().position >= 0));
}

bool has_position(const model::Target &target)
{
    return std::any_of(target.steps.begin(), target.steps.end(),
                       [](const model::Step &step) { return step.position >= 0; });
}

void answer_tree(Agent &agent, Request request, const model::Target &target, proto::Tree tree)
{
    if (tree.nodes.empty() && is_single(target)) {
        refuse(agent, request, proto::Error{proto::ErrorCode::not_exists, model::keypath_of(target), "not set"});
    } else {
        answer(agent, request, proto::encode(model::rooted(target, std::move(tree))));
    }
}

// The same target with the keys of the node that it found in place of positions.
model::Target by_keys(const Agent &agent, const model::Target &target, const lyd_node *found)
{
    model::Target named;
    std::string error;
    const bool resolved = model::resolve(*agent.models, model::keypath_of(found), {}, &named, &error);
    return resolved ? named : target;
}

void get_config(Agent &agent, Request request, const proto::Get &record, const model::Target &target)
{
    Session &session = agent.sessions.at(request.peer);
    proto::Error contradiction; // shows up again in a commit; here the candidate is shown as it is
    if (record.source == proto::Source::candidate) refresh_candidate(agent, session, &contradiction);
    const lyd_node *tree =
        record.source == proto::Source::candidate ? session.candidate.get() : agent.store.running.tree.get();
    if (target.steps.empty()) {
        answer_tree(agent, request, target, model::to_tree(tree, record.with_defaults));
    } else {
        const std::vector<const lyd_node *> found = model::find_all(tree, target);
        const bool positions = !found.empty() && has_position(target);
        answer_tree(agent, request, positions ? by_keys(agent, target, found.front()) : target,
                    model::to_tree(found, record.with_defaults));
    }
}

// The candidate, made or moved onto the running configuration. Contradictions with it come up at the commit only, so
// that an operator can still look at what he has and take it back.
model::Tree &candidate_of(Agent &agent, Request request)
{
    Session &session = agent.sessions.at(request.peer);
    proto::Error contradiction;
    refresh_candidate(agent, session, &contradiction);
    session.edits++;
    return session.candidate;
}

// The entries of a list as a tree that holds nothing but their keys.
model::Tree keys_only(const Agent &agent, const model::Target &list, const Nodes &nodes)
{
    model::Tree tree = model::duplicate(agent.oper.tree.get());
    model::Target entry = list;
    std::string error;
    for (const proto::TreeNode &node : nodes) {
        std::vector<std::string> &keys = entry.steps.back().keys;
        if (node.kind == proto::NodeKind::entry) keys.clear();
        if (!node.is_key) continue;
        keys.push_back(node.text);
        if (keys.size() == model::keys_of_list(model::schema_of(list)).size())
            model::store(*agent.models, &tree, entry, "", &error);
    }
    return tree;
}

// The entries of a served list are asked for where their keys come next.
void complete_operational(Agent &agent, Request request, proto::Complete record)
{
    model::Target target;
    proto::Error error;
    std::string value;
    bool has_value = false;
    const bool resolved = model::resolve_words(*agent.models, record.words, false, &target, &value, &has_value, &error);
    const lysc_node *schema = resolved ? model::schema_of(target) : nullptr;
    const bool keys_next = schema != nullptr && schema->nodetype == LYS_LIST && (schema->flags & LYS_CONFIG_R) != 0 &&
                           target.steps.back().keys.empty() && !has_position(target);
    const auto finish = [&agent, request, record = std::move(record), target, keys_next](const Nodes &nodes) {
        const model::Tree tree = keys_next ? keys_only(agent, target, nodes) : model::duplicate(agent.oper.tree.get());
        answer(agent, request, proto::encode(model::complete(*agent.models, tree.get(), record)));
    };
    if (keys_next) {
        read_operational(agent, request.peer, target, finish);
    } else {
        finish({});
    }
}

void answer_edit(Agent &agent, Request request, bool done, const proto::Error &error)
{
    if (done) {
        answer(agent, request);
    } else {
        refuse(agent, request, error);
    }
}

} // namespace

void on_get(Agent &agent, Request request, std::string_view payload)
{
    proto::Get record;
    if (!take(agent, request, payload, &record)) return;
    model::Target target;
    proto::Error error;
    std::string value;
    bool has_value = false;
    if (!model::resolve_words(*agent.models, record.path, false, &target, &value, &has_value, &error)) {
        refuse(agent, request, error);
        return;
    }
    const bool operational = record.source == proto::Source::operational;
    if (operational && has_position(target)) {
        refuse(agent, request,
               proto::Error{proto::ErrorCode::bad_path, model::keypath_of(target), "give the keys, not a position"});
        return;
    }
    if (!target.steps.empty() && is_config(model::schema_of(target)) == operational) {
        refuse(agent, request,
               proto::Error{proto::ErrorCode::bad_path, model::keypath_of(target),
                            operational ? "this is configuration" : "this is operational data"});
    } else if (operational) {
        read_operational(agent, request.peer, target, [&agent, request, target](Nodes nodes) {
            answer_tree(agent, request, target, proto::Tree{std::move(nodes)});
        });
    } else {
        get_config(agent, request, record, target);
    }
}

void on_edit(Agent &agent, Request request, std::string_view payload)
{
    proto::Edit record;
    if (!take(agent, request, payload, &record)) return;
    model::Tree &tree = candidate_of(agent, request);
    proto::Error error;
    const bool done = record.remove ? model::remove(*agent.models, &tree, record.path, &error)
                                    : model::set(*agent.models, &tree, record.path, &error);
    answer_edit(agent, request, done, error);
}

void on_load(Agent &agent, Request request, std::string_view payload)
{
    proto::Load record;
    if (!take(agent, request, payload, &record)) return;
    proto::Error error;
    const bool done =
        model::load_json(*agent.models, &candidate_of(agent, request), record.json, record.replace, &error);
    answer_edit(agent, request, done, error);
}

void on_discard(Agent &agent, Request request, std::string_view /*payload*/)
{
    drop_candidate(agent.sessions.at(request.peer));
    answer(agent, request);
}

void on_diff(Agent &agent, Request request, std::string_view /*payload*/)
{
    Session &session = agent.sessions.at(request.peer);
    proto::Error error;
    if (!refresh_candidate(agent, session, &error)) {
        refuse(agent, request, error);
        return;
    }
    const proto::Diff diff{model::changes(agent.store.running.tree.get(), session.candidate.get())};
    answer(agent, request, proto::encode(diff));
}

void on_validate(Agent &agent, Request request, std::string_view payload)
{
    proto::Commit record;
    if (take(agent, request, payload, &record)) queue_commit(agent, request, std::move(record), true);
}

void on_commit(Agent &agent, Request request, std::string_view payload)
{
    proto::Commit record;
    if (!take(agent, request, payload, &record)) return;
    record.comment = service::cut_text(proto::printable(record.comment), max_comment);
    if (record.confirm_seconds > longest_confirmation) {
        refuse(agent, request, proto::ErrorCode::bad_value, "a confirmation can be awaited for 1..86400 seconds");
    } else {
        queue_commit(agent, request, std::move(record), false);
    }
}

void on_confirm(Agent &agent, Request request, std::string_view /*payload*/)
{
    confirm_commit(agent, request);
}

void on_abort(Agent &agent, Request request, std::string_view /*payload*/)
{
    abort_commit(agent, request);
}

void on_rollback(Agent &agent, Request request, std::string_view payload)
{
    proto::Rollback record;
    if (!take(agent, request, payload, &record)) return;
    const std::vector<Stamp> &history = agent.store.history;
    if (record.number == 0 || record.number > history.size()) {
        refuse(agent, request, proto::ErrorCode::not_exists,
               "no such rollback: there are " + std::to_string(history.size()));
        return;
    }
    Version version;
    std::string why;
    if (!read_version(agent.store, version_name(history[record.number - 1].txid), &version, &why)) {
        refuse(agent, request, proto::ErrorCode::failed, why);
        return;
    }
    drop_candidate(agent.sessions.at(request.peer));
    candidate_of(agent, request) = model::duplicate(version.tree.get());
    answer(agent, request);
}

void on_rollbacks(Agent &agent, Request request, std::string_view /*payload*/)
{
    proto::Rollbacks list;
    for (const Stamp &stamp : agent.store.history) {
        const auto number = static_cast<std::uint32_t>(list.entries.size() + 1);
        list.entries.push_back({number, stamp.txid, stamp.time, stamp.comment});
    }
    answer(agent, request, proto::encode(list));
}

void on_complete(Agent &agent, Request request, std::string_view payload)
{
    proto::Complete record;
    if (!take(agent, request, payload, &record)) return;
    if (record.source == proto::Source::operational) {
        complete_operational(agent, request, std::move(record));
        return;
    }
    const lyd_node *tree = agent.store.running.tree.get();
    proto::Error contradiction;
    Session &session = agent.sessions.at(request.peer);
    if (record.source == proto::Source::candidate && session.has_candidate) {
        refresh_candidate(agent, session, &contradiction);
        tree = session.candidate.get();
    }
    answer(agent, request, proto::encode(model::complete(*agent.models, tree, record)));
}

void on_action(Agent &agent, Request request, std::string_view payload)
{
    proto::Action record;
    if (!take(agent, request, payload, &record)) return;
    const char *point = model::action_point(*agent.models, record.name);
    if (point == nullptr) {
        refuse(agent, request, proto::ErrorCode::bad_path, "no such action: " + proto::printable(record.name));
        return;
    }
    const PeerId owner = owner_of(agent, model::PointKind::action, point);
    if (owner == 0) {
        refuse(agent, request, proto::ErrorCode::unavailable, "nobody serves it: is the application running?");
        return;
    }
    const proto::CallAction call{point, {}, {}};
    call_peer(agent, owner, proto::Op::call_action, proto::encode(call), delivery_limit,
              [&agent, request](const Answer &reply) {
                  proto::Status status;
                  if (!reply.ok) {
                      refuse(agent, request, reply.error);
                  } else if (!proto::decode(reply.payload, &status)) {
                      refuse(agent, request, proto::ErrorCode::failed, "the application's answer cannot be read");
                  } else if (status.status != 0) {
                      refuse(agent, request, proto::ErrorCode::failed,
                             status.text.empty() ? "the action failed" : proto::printable(status.text));
                  } else {
                      answer(agent, request);
                  }
              });
}

void on_watch(Agent &agent, Request request, std::string_view payload)
{
    proto::Watch record;
    if (!take(agent, request, payload, &record)) return;
    answer(agent, request);
    set_watch(agent, request.peer, record.mask);
}

} // namespace agent
