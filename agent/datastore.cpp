#include "agent/datastore.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include <sys/stat.h>

#include "agent/killpoint.h"
#include "agent/model/edit.h"
#include "service/log.h"

namespace agent {

namespace {

constexpr const char *running_name = "running.json";
constexpr std::uint64_t greatest_txid = INT64_MAX;

bool ends_with(const std::string &text, const std::string &end)
{
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

// The N of "config.N.json", and of any other name that ends in ".N.json"; 0 for others, also for a number that no agent
// has counted to: the next one could be 0, which is none.
std::uint64_t number_in(const std::string &name)
{
    const std::size_t end = name.rfind(".json");
    if (end == std::string::npos || end == 0 || !ends_with(name, ".json")) return 0;
    const std::size_t dot = name.rfind('.', end - 1);
    const std::uint64_t number = dot == std::string::npos ? 0 : strtoull(name.c_str() + dot + 1, nullptr, 10);
    return number > greatest_txid ? 0 : number;
}

bool is_version(const std::string &name)
{
    return name.rfind("config.", 0) == 0 && number_in(name) != 0;
}

bool parse_config(const model::Models &models, const std::string &text, model::Tree *tree, std::string *why)
{
    proto::Error error;
    if (model::load_json(models, tree, text, true, &error) && model::validate(models, tree, &error)) return true;
    *why = error.path.empty() ? error.text : error.path + ": " + error.text;
    return false;
}

void drop_unfinished(const std::string &dir)
{
    for (const std::string &name : list_files(dir)) {
        if (ends_with(name, ".new")) remove_file(dir, name);
    }
}

// Versions on disk, newest first. Those above `running` were on their way when the agent ended: they never ran.
void read_history(Datastore &store, std::uint64_t running)
{
    store.last_txid = running; // its own file may be gone
    for (const std::string &name : list_files(store.dir)) {
        store.last_txid = std::max(store.last_txid, number_in(name));
        if (!is_version(name)) continue;
        Document document;
        std::string why;
        if (running != 0 && number_in(name) > running) {
            remove_file(store.dir, name);
        } else if (number_in(name) != running && read_document(store.dir, name, &document, &why) == Found::whole) {
            store.history.push_back(document.stamp);
        }
    }
    std::sort(store.history.begin(), store.history.end(),
              [](const Stamp &a, const Stamp &b) { return a.txid > b.txid; });
}

// False with versions left: it cannot be written. False with none: there is nothing to go back to.
bool use_previous(Datastore &store, std::string *error)
{
    while (!store.history.empty()) {
        const Stamp stamp = store.history.front();
        Version version;
        std::string why;
        if (read_version(store, version_name(stamp.txid), &version, &why)) {
            service::log(LOG_ERR, "using the configuration of transaction %llu instead",
                         static_cast<unsigned long long>(stamp.txid));
            const std::string comment = "restored transaction " + std::to_string(stamp.txid);
            return commit_version(store, model::duplicate(version.tree.get()), comment, error);
        }
        service::log(LOG_ERR, "%s is not used: %s", version_name(stamp.txid).c_str(), why.c_str());
        keep_aside(store.dir, version_name(stamp.txid));
        store.history.erase(store.history.begin());
    }
    return false;
}

bool use_factory(Datastore &store, const std::string &factory, std::string *error)
{
    std::string text;
    model::Tree tree;
    if (read_file(factory, &text, error) != Found::whole || !parse_config(*store.models, text, &tree, error)) {
        *error = "factory configuration " + factory + ": " + (error->empty() ? "it does not exist" : *error);
        return false;
    }
    service::log(LOG_NOTICE, "starting from the factory configuration %s", factory.c_str());
    return commit_version(store, std::move(tree), "factory configuration", error);
}

void drop_oldest(Datastore &store)
{
    while (store.history.size() > max_rollbacks) {
        remove_file(store.dir, version_name(store.history.back().txid));
        store.history.pop_back();
    }
}

} // namespace

std::string version_name(std::uint64_t txid)
{
    return "config." + std::to_string(txid) + ".json";
}

std::string json_text(const lyd_node *tree)
{
    char *text = nullptr;
    if (lyd_print_mem(&text, tree, LYD_JSON, LYD_PRINT_WITHSIBLINGS) != LY_SUCCESS || text == nullptr) return "{}";
    std::string copy(text);
    free(text);
    return copy;
}

bool read_version(const Datastore &store, const std::string &name, Version *version, std::string *why)
{
    Document document;
    const Found found = read_document(store.dir, name, &document, why);
    if (found == Found::missing) *why = "it does not exist";
    model::Tree tree;
    if (found != Found::whole || !parse_config(*store.models, document.text, &tree, why)) return false;
    version->stamp = document.stamp;
    version->tree = model::freeze(std::move(tree));
    return true;
}

bool open_datastore(const model::Models &models, const std::string &dir, const std::string &factory, Datastore *store,
                    std::string *error)
{
    store->models = &models;
    store->dir = dir;
    if (mkdir(dir.c_str(), 0700) != 0 && errno != EEXIST) {
        *error = "cannot create " + dir + ": " + strerror(errno);
        return false;
    }
    drop_unfinished(dir);
    std::string bytes;
    std::string why;
    const bool exists = read_file(dir + "/" + running_name, &bytes, &why) != Found::missing;
    if (exists && read_version(*store, running_name, &store->running, &why)) {
        read_history(*store, store->running.stamp.txid);
        return true;
    }
    read_history(*store, 0);
    if (exists) {
        service::log(LOG_ERR, "%s/%s is not used: %s", dir.c_str(), running_name, why.c_str());
        keep_aside(dir, running_name);
    }
    // Also when there is none: the agent may have ended between putting the damaged one aside and writing another.
    if (use_previous(*store, error)) return true;
    return store->history.empty() && use_factory(*store, factory, error);
}

bool commit_version(Datastore &store, model::Tree tree, const std::string &comment, std::string *error)
{
    kill_point("before-persist");
    Document document;
    document.stamp = {store.last_txid + 1, std::time(nullptr), comment};
    document.text = json_text(tree.get());
    if (!write_new(store.dir, running_name, with_trailer(document), Sync::file, error)) return false;
    kill_point("before-rename");
    const std::string unfinished = std::string(running_name) + ".new";
    if (!link_file(store.dir, unfinished, version_name(document.stamp.txid), error)) return false;
    if (!put_in_place(store.dir, running_name, error)) {
        remove_file(store.dir, version_name(document.stamp.txid));
        return false;
    }
    if (!sync_directory(store.dir)) service::log(LOG_ERR, "cannot flush %s: %s", store.dir.c_str(), strerror(errno));
    kill_point("before-swap");
    if (store.running.tree) store.history.insert(store.history.begin(), store.running.stamp);
    store.last_txid = document.stamp.txid;
    store.running = {document.stamp, model::freeze(std::move(tree))};
    drop_oldest(store);
    return true;
}

} // namespace agent
