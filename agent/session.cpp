#include "agent/session.h"

#include "agent/agent.h"
#include "agent/model/render.h"

namespace agent {

namespace {

// Whether `path` lies below `above`.
bool is_below(const std::string &path, const std::string &above)
{
    return path.size() > above.size() && path.compare(0, above.size(), above) == 0 &&
           (path[above.size()] == '/' || path[above.size()] == '{');
}

bool contradict(const proto::Change &a, const proto::Change &b)
{
    return a.path == b.path || (a.op == '-' && is_below(b.path, a.path)) || (b.op == '-' && is_below(a.path, b.path));
}

bool find_contradiction(const lyd_node *base, const lyd_node *candidate, const lyd_node *onto, proto::Error *error)
{
    const std::vector<proto::Change> mine = model::changes(base, candidate);
    const std::vector<proto::Change> theirs = model::changes(base, onto);
    for (const proto::Change &a : mine) {
        for (const proto::Change &b : theirs) {
            if (!contradict(a, b)) continue;
            *error = {proto::ErrorCode::refused, a.path,
                      "another commit has changed this meanwhile; discard the changes and make them again"};
            return true;
        }
    }
    return false;
}

} // namespace

bool rebase(const model::Models & /*models*/, const lyd_node *base, const lyd_node *candidate, const lyd_node *onto,
            model::Tree *result, proto::Error *error)
{
    if (find_contradiction(base, candidate, onto, error)) return false;
    lyd_node *diff = nullptr;
    const LY_ERR compared = lyd_diff_siblings(base, candidate, LYD_DIFF_DEFAULTS, &diff);
    const model::Tree changes(diff);
    model::Tree copy = model::duplicate(onto);
    lyd_node *tree = copy.release();
    const LY_ERR applied = compared == LY_SUCCESS ? lyd_diff_apply_all(&tree, diff) : compared;
    copy.reset(tree);
    if (applied != LY_SUCCESS) {
        *error = {
            proto::ErrorCode::refused, "",
            "the changes do not fit the configuration that another commit made; discard them and make them again"};
        return false;
    }
    *result = std::move(copy);
    return true;
}

bool refresh_candidate(const Agent &agent, Session &session, proto::Error *error)
{
    const model::Snapshot &running = agent.store.running.tree;
    if (!session.has_candidate) {
        session.candidate = model::duplicate(running.get());
    } else if (session.base != running) {
        model::Tree moved;
        const lyd_node *base = session.base.get();
        if (!rebase(*agent.models, base, session.candidate.get(), running.get(), &moved, error)) return false;
        session.candidate = std::move(moved);
    }
    session.base = running;
    session.has_candidate = true;
    return true;
}

void drop_candidate(Session &session)
{
    session.has_candidate = false;
    session.candidate.reset();
    session.base.reset();
    session.edits++;
}

} // namespace agent
