#include "agent/handlers.h"
#include "agent/model/render.h"
#include "agent/model/values.h"
#include "protocol/data.h"

namespace agent {

namespace {

// The session of the connection; null after it was told that none is open.
DataSession *open_session(Agent &agent, Request request)
{
    DataSession &data = agent.sessions.at(request.peer).data;
    if (data.open) return &data;
    refuse(agent, request, proto::ErrorCode::no_session, "no session has been started");
    return nullptr;
}

const lyd_node *tree_of(const Agent &agent, const DataSession &data)
{
    return data.database == proto::Database::running ? data.tree.get() : agent.oper.tree.get();
}

bool find_path(Agent &agent, Request request, const DataSession &data, const std::string &path, model::Target *target)
{
    proto::Error error{proto::ErrorCode::bad_path, path, ""};
    if (model::resolve(*agent.models, path, data.base, target, &error.text)) return true;
    refuse(agent, request, error);
    return false;
}

void refuse_absent(Agent &agent, Request request, const std::string &path)
{
    refuse(agent, request, proto::Error{proto::ErrorCode::not_exists, path, "it does not exist"});
}

// A session, a record and the node that its path names, or a refusal.
DataSession *prepare(Agent &agent, Request request, std::string_view payload, proto::CdbPath *record,
                     model::Target *target)
{
    DataSession *data = open_session(agent, request);
    if (data == nullptr || !take(agent, request, payload, record)) return nullptr;
    return find_path(agent, request, *data, record->path, target) ? data : nullptr;
}

void answer_count(Agent &agent, Request request, std::size_t count)
{
    answer(agent, request, proto::encode(proto::CdbCount{static_cast<std::int32_t>(count)}));
}

} // namespace

void end_data_session(Agent &agent, DataSession &data)
{
    const DataSession ended = std::move(data);
    data = {};
    if (ended.changed) operational_written(agent, ended.tree.get(), agent.oper.tree.get());
}

void on_cdb_start(Agent &agent, Request request, std::string_view payload)
{
    proto::CdbStart record;
    if (!take(agent, request, payload, &record)) return;
    DataSession &data = agent.sessions.at(request.peer).data;
    end_data_session(agent, data);
    data.open = true;
    data.database = record.database;
    data.tree = record.database == proto::Database::running ? agent.store.running.tree : agent.oper.tree;
    answer(agent, request);
}

void on_cdb_end(Agent &agent, Request request, std::string_view /*payload*/)
{
    DataSession *data = open_session(agent, request);
    if (data == nullptr) return;
    end_data_session(agent, *data);
    answer(agent, request);
}

void on_cdb_get(Agent &agent, Request request, std::string_view payload)
{
    proto::CdbPath record;
    model::Target target;
    const DataSession *data = prepare(agent, request, payload, &record, &target);
    if (data == nullptr) return;
    const lysc_node *schema = model::schema_of(target);
    const std::vector<const lyd_node *> found = model::find_all(tree_of(agent, *data), target);
    if (schema == nullptr || (schema->nodetype & (LYS_LEAF | LYS_LEAFLIST)) == 0) {
        refuse(agent, request, proto::Error{proto::ErrorCode::bad_path, record.path, "no leaf"});
    } else if (found.empty()) {
        refuse_absent(agent, request, record.path);
    } else if (schema->nodetype == LYS_LEAFLIST && target.steps.back().keys.empty()) {
        answer(agent, request, proto::encode(proto::CdbValue{model::to_list_value(found.front(), schema)}));
    } else {
        answer(agent, request, proto::encode(proto::CdbValue{model::to_value(found.front())}));
    }
}

void on_cdb_case(Agent &agent, Request request, std::string_view payload)
{
    proto::CdbCase record;
    model::Target target;
    const DataSession *data = open_session(agent, request);
    if (data == nullptr || !take(agent, request, payload, &record)) return;
    if (!find_path(agent, request, *data, record.path, &target)) return;
    const lysc_node *chosen = nullptr;
    if (!model::chosen_case(*agent.models, tree_of(agent, *data), target, record.choice, &chosen)) {
        refuse_absent(agent, request, record.path);
        return;
    }
    const proto::Value value = proto::make_tag(proto::ValueType::xmltag, model::tag_of(*agent.models, chosen),
                                               model::ns_of(*agent.models, chosen->module));
    answer(agent, request, proto::encode(proto::CdbValue{value}));
}

void on_cdb_exists(Agent &agent, Request request, std::string_view payload)
{
    proto::CdbPath record;
    model::Target target;
    const DataSession *data = prepare(agent, request, payload, &record, &target);
    if (data != nullptr) answer_count(agent, request, model::exists(tree_of(agent, *data), target) ? 1 : 0);
}

void on_cdb_count(Agent &agent, Request request, std::string_view payload)
{
    proto::CdbPath record;
    model::Target target;
    const DataSession *data = prepare(agent, request, payload, &record, &target);
    if (data != nullptr) answer_count(agent, request, model::find_all(tree_of(agent, *data), target).size());
}

void on_cdb_cd(Agent &agent, Request request, std::string_view payload)
{
    proto::CdbPath record;
    model::Target target;
    DataSession *data = prepare(agent, request, payload, &record, &target);
    if (data == nullptr) return;
    data->base.cd = std::move(target);
    answer(agent, request);
}

void on_cdb_namespace(Agent &agent, Request request, std::string_view payload)
{
    proto::CdbNamespace record;
    DataSession *data = open_session(agent, request);
    if (data == nullptr || !take(agent, request, payload, &record)) return;
    if (record.ns != 0 && model::module_of_ns(*agent.models, record.ns) == nullptr) {
        refuse(agent, request, proto::ErrorCode::bad_path, "no model has this namespace");
        return;
    }
    data->base = {record.ns, {}};
    answer(agent, request);
}

void on_cdb_set(Agent &agent, Request request, std::string_view payload)
{
    proto::CdbSet record;
    model::Target target;
    DataSession *data = open_session(agent, request);
    if (data == nullptr || !take(agent, request, payload, &record)) return;
    if (data->database != proto::Database::operational) {
        refuse(agent, request, proto::ErrorCode::refused, "configuration is written by commits only");
        return;
    }
    if (!find_path(agent, request, *data, record.path, &target)) return;
    proto::Error error;
    bool changed = false;
    if (!set_oper(agent.oper, target, record.value, &changed, &error)) {
        refuse(agent, request, error);
        return;
    }
    data->changed = data->changed || changed;
    answer(agent, request);
}

} // namespace agent
