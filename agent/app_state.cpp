#include "agent/app_state.h"

#include <cctype>
#include <cinttypes>
#include <cstdio>

#include "service/log.h"

namespace agent {

namespace {

constexpr std::size_t max_app_name = 32;
const std::string prefix = "app-";
const std::string suffix = ".state";

std::string state_name(const std::string &app)
{
    return prefix + app + suffix;
}

std::string tree_name(const std::string &app, std::uint64_t txid)
{
    return prefix + app + "." + std::to_string(txid) + ".json";
}

bool read_tree(const Datastore &store, const std::string &app, std::uint64_t txid, Version *version)
{
    std::string why;
    if (txid == 0) return true;
    if (read_version(store, tree_name(app, txid), version, &why)) return true;
    service::log(LOG_ERR, "%s is not used: %s", tree_name(app, txid).c_str(), why.c_str());
    return false;
}

// An application whose state cannot be read gets everything again, as a new process would.
Application read_app(const Datastore &store, const std::string &name)
{
    Application app;
    app.name = name;
    Document document;
    std::string why;
    std::uint64_t interrupted = 0;
    if (read_document(store.dir, state_name(name), &document, &why) != Found::whole ||
        sscanf(document.text.c_str(), "instance %" SCNu64 " interrupted %" SCNu64, // NOLINT(cert-err34-c)
               &app.instance, &interrupted) != 2) {
        service::log(LOG_ERR, "%s is not used: %s", state_name(name).c_str(), why.c_str());
        keep_aside(store.dir, state_name(name));
        return app;
    }
    if (!read_tree(store, name, document.stamp.txid, &app.acknowledged)) {
        app.instance = 0;
        return app;
    }
    app.acknowledged.stamp.txid = document.stamp.txid;
    app.recorded = interrupted != 0 && read_tree(store, name, interrupted, &app.interrupted);
    return app;
}

// Trees of this application other than those it needs.
void drop_others(const Datastore &store, const Application &app)
{
    const std::string start = prefix + app.name + ".";
    for (const std::string &name : list_files(store.dir)) {
        if (name.rfind(start, 0) != 0 || name.find(".json") == std::string::npos) continue;
        if (name != tree_name(app.name, app.acknowledged.stamp.txid) &&
            name != tree_name(app.name, app.interrupted.stamp.txid))
            remove_file(store.dir, name);
    }
}

// No sync: what a kill of the process leaves behind is the kernel's; a machine that stops ends the application too.
bool write_tree(const Datastore &store, const Application &app, const Version &version, std::string *error)
{
    const Document document{version.stamp, json_text(version.tree.get())};
    return replace_file(store.dir, tree_name(app.name, version.stamp.txid), with_trailer(document), Sync::none, error);
}

// Written once: a transaction number stands for one tree.
bool keep_tree(const Datastore &store, const Application &app, const Version &version, std::string *error)
{
    if (version.stamp.txid == 0 || has_file(store.dir, tree_name(app.name, version.stamp.txid))) return true;
    return write_tree(store, app, version, error);
}

} // namespace

bool is_app_name(const std::string &name)
{
    if (name.empty() || name.size() > max_app_name) return false;
    for (const unsigned char c : name) {
        if (std::isalnum(c) == 0 && c != '-' && c != '_') return false;
    }
    return true;
}

Applications read_app_states(const Datastore &store)
{
    Applications apps;
    for (const std::string &file : list_files(store.dir)) {
        if (file.rfind(prefix, 0) != 0 || file.size() <= prefix.size() + suffix.size()) continue;
        if (file.compare(file.size() - suffix.size(), suffix.size(), suffix) != 0) continue;
        const std::string name = file.substr(prefix.size(), file.size() - prefix.size() - suffix.size());
        if (!is_app_name(name)) continue;
        apps[name] = read_app(store, name);
        drop_others(store, apps[name]);
    }
    return apps;
}

bool write_app_state(const Datastore &store, const Application &app, std::string *error)
{
    if (!keep_tree(store, app, app.acknowledged, error) || !keep_tree(store, app, app.interrupted, error)) return false;
    Document document;
    document.stamp = app.acknowledged.stamp;
    document.text =
        "instance " + std::to_string(app.instance) + " interrupted " + std::to_string(app.interrupted.stamp.txid);
    if (!replace_file(store.dir, state_name(app.name), with_trailer(document), Sync::none, error)) return false;
    drop_others(store, app);
    return true;
}

void remove_app_state(const Datastore &store, const std::string &name)
{
    remove_file(store.dir, state_name(name));
    Application nothing;
    nothing.name = name;
    drop_others(store, nothing);
}

void fold_interrupted(const Datastore &store, Application &app)
{
    model::Tree both = model::duplicate(app.acknowledged.tree.get());
    lyd_node *merged = both.release();
    if (lyd_merge_siblings(&merged, app.interrupted.tree.get(), 0) != LY_SUCCESS)
        service::log(LOG_ERR, "%s: the trees of two transactions do not merge", app.name.c_str());
    both.reset(merged);
    std::string error;
    app.acknowledged = {app.interrupted.stamp, model::freeze(std::move(both))};
    app.interrupted = {};
    app.recorded = false;
    if (!write_tree(store, app, app.acknowledged, &error) || !write_app_state(store, app, &error))
        service::log(LOG_ERR, "%s", error.c_str());
}

} // namespace agent
