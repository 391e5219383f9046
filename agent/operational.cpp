#include "agent/operational.h"

#include <memory>

#include "agent/agent.h"
#include "agent/model/edit.h"
#include "agent/model/render.h"
#include "agent/model/values.h"
#include "agent/provider.h"

namespace agent {

namespace {

struct Read {
    std::vector<Nodes> pieces; // in the order of the schema
    std::size_t open = 1;      // pieces that providers still owe, and the planning itself
    bool keep_root = false;
    PeerId asker = 0;
    std::function<void(Nodes)> done;
};
using ReadPtr = std::shared_ptr<Read>;

// Containers without content are left out, except one that was asked for.
Nodes joined(Read &read)
{
    Nodes all;
    for (Nodes &piece : read.pieces) {
        for (proto::TreeNode &node : piece) {
            const bool is_empty = node.kind == proto::NodeKind::end && !all.empty() &&
                                  all.back().kind == proto::NodeKind::container && !(read.keep_root && all.size() == 1);
            if (is_empty) {
                all.pop_back();
            } else {
                all.push_back(std::move(node));
            }
        }
    }
    return all;
}

void settle(const ReadPtr &read)
{
    if (--read->open == 0) read->done(joined(*read));
}

void add_edge(Read &read, const lysc_node *node, proto::NodeKind kind)
{
    proto::TreeNode edge;
    edge.kind = kind;
    const bool top = model::data_parent(node) == nullptr;
    if (kind != proto::NodeKind::end) edge.name = (top ? std::string(node->module->name) + ":" : "") + node->name;
    read.pieces.push_back({edge});
}

// The keys of an entry as values.
std::vector<proto::Value> key_values(const Agent &agent, const model::Target &entry)
{
    model::Tree scratch;
    std::string error;
    if (!model::store(*agent.models, &scratch, entry, "", &error)) return {};
    const lyd_node *node = model::find(scratch.get(), entry);
    return node != nullptr ? model::keys_of(node) : std::vector<proto::Value>{};
}

// What a provider is asked for the target: the innermost list or container around it, and the part of that.
Wanted wanted_for(const Agent &agent, const model::Target &target, const char *callpoint)
{
    Wanted wanted;
    wanted.callpoint = callpoint;
    wanted.row = model::schema_of(target);
    std::size_t depth = target.steps.size();
    if (wanted.row->nodetype != LYS_LIST && wanted.row->nodetype != LYS_CONTAINER) wanted.only = wanted.row;
    for (std::size_t i = target.steps.size(); i-- > 0;) {
        const model::Step &step = target.steps[i];
        if (step.schema->nodetype == LYS_LIST) {
            if (wanted.row != step.schema) wanted.only = wanted.row;
            wanted.row = step.schema;
            wanted.key_texts = step.keys;
            depth = i;
            break;
        }
    }
    if (wanted.only == wanted.row) wanted.row = model::data_parent(wanted.row);
    for (std::size_t i = 0; i <= depth && i < target.steps.size(); i++) {
        if (target.steps[i].schema->nodetype != LYS_LIST || target.steps[i].keys.empty()) continue;
        model::Target entry;
        entry.steps.assign(target.steps.begin(), target.steps.begin() + static_cast<std::ptrdiff_t>(i) + 1);
        (i == depth ? wanted.keys : wanted.outer.emplace_back()) = key_values(agent, entry);
    }
    return wanted;
}

void add_provided(Agent &agent, const ReadPtr &read, Wanted wanted)
{
    const std::size_t place = read->pieces.size();
    read->pieces.emplace_back();
    read->open++;
    ask_provider(agent, read->asker, std::move(wanted), [read, place](Nodes nodes) {
        read->pieces[place] = std::move(nodes);
        settle(read);
    });
}

void add_stored(const Agent &agent, Read &read, const model::Target &target)
{
    read.pieces.push_back(model::to_tree(model::find_all(agent.oper.tree.get(), target), true).nodes);
}

void plan(Agent &agent, const ReadPtr &read, const model::Target &target);

void plan_children(Agent &agent, const ReadPtr &read, const model::Target &target, bool lists_only)
{
    for (const lysc_node *child : model::children(*agent.models, model::schema_of(target))) {
        if ((child->flags & LYS_CONFIG_R) == 0 || (lists_only && child->nodetype != LYS_LIST)) continue;
        model::Target below = target;
        below.steps.push_back({child, {}, -1});
        plan(agent, read, below);
    }
}

void plan(Agent &agent, const ReadPtr &read, const model::Target &target)
{
    const lysc_node *node = model::schema_of(target);
    if (node == nullptr) {
        plan_children(agent, read, target, false);
        return;
    }
    const char *callpoint = nullptr;
    const bool served = model::callpoint_node(*agent.models, node, &callpoint) != nullptr;
    const Wanted wanted = served ? wanted_for(agent, target, callpoint) : Wanted{};
    const bool is_container = node->nodetype == LYS_CONTAINER && (!served || wanted.row == node);
    if (!is_container) {
        served ? add_provided(agent, read, wanted) : add_stored(agent, *read, target);
        return;
    }
    add_edge(*read, node, proto::NodeKind::container);
    if (served) add_provided(agent, read, wanted);
    plan_children(agent, read, target, served);
    add_edge(*read, node, proto::NodeKind::end);
}

} // namespace

void read_operational(Agent &agent, PeerId asker, const model::Target &target, std::function<void(Nodes)> done)
{
    const auto read = std::make_shared<Read>();
    read->keep_root = model::schema_of(target) != nullptr;
    read->asker = asker;
    read->done = std::move(done);
    plan(agent, read, target);
    settle(read);
}

} // namespace agent
