#include "agent/oper_store.h"

#include <ctime>

#include "agent/datastore.h"
#include "agent/model/edit.h"
#include "agent/model/render.h"
#include "agent/model/values.h"
#include "agent/persist.h"
#include "service/log.h"

namespace agent {

namespace {

constexpr const char *file_name = "operational.json";

std::string read_boot_id()
{
    std::string id(36, '\0'); // a UUID; the file has no size to ask for
    FILE *file = fopen("/proc/sys/kernel/random/boot_id", "re");
    if (file == nullptr) return "unknown";
    id.resize(fread(id.data(), 1, id.size(), file));
    fclose(file);
    return id;
}

// The comment of the document is the boot that its values belong to.
void save(const OperStore &store)
{
    std::string error;
    const Document document{
        {0, std::time(nullptr), store.boot_id},
        json_text(store.tree.get())
    };
    if (!replace_file(store.dir, file_name, with_trailer(document), Sync::none, &error))
        service::log(LOG_ERR, "operational values are not kept: %s", error.c_str());
}

bool parse(const model::Models &models, const std::string &text, model::Snapshot *tree)
{
    lyd_node *parsed = nullptr;
    const LY_ERR result = lyd_parse_data_mem(model::context(models), text.c_str(), LYD_JSON,
                                             LYD_PARSE_ONLY | LYD_PARSE_STRICT, 0, &parsed);
    *tree = model::freeze(model::Tree(parsed));
    return result == LY_SUCCESS;
}

} // namespace

void open_oper_store(const model::Models &models, const std::string &dir, OperStore *store)
{
    store->models = &models;
    store->dir = dir;
    store->boot_id = read_boot_id();
    Document document;
    std::string why;
    const Found found = read_document(dir, file_name, &document, &why);
    if (found == Found::missing) return;
    if (found == Found::damaged) service::log(LOG_WARNING, "operational values are lost: %s", why.c_str());
    const bool ours = found == Found::whole && document.stamp.comment == store->boot_id;
    if (!ours || !parse(models, document.text, &store->tree)) {
        store->tree.reset();
        remove_file(dir, file_name);
    }
}

bool set_oper(OperStore &store, const model::Target &target, const proto::Value &value, bool *changed,
              proto::Error *error)
{
    const lysc_node *leaf = model::schema_of(target);
    const std::string path = model::keypath_of(target);
    *error = {proto::ErrorCode::bad_path, path, "no leaf of operational data"};
    if (leaf == nullptr || (leaf->nodetype & LYS_LEAF) == 0 || (leaf->flags & LYS_CONFIG_R) == 0) return false;
    error->text = "a key comes with its entry";
    if (lysc_is_key(leaf)) return false;
    const char *callpoint = nullptr;
    error->text = "it is served by an application, not stored";
    if (model::callpoint_node(*store.models, leaf, &callpoint) != nullptr) return false;
    std::string text;
    error->code = proto::ErrorCode::bad_value;
    if (!model::value_text(leaf, value, &text, &error->text)) return false;
    model::Tree tree = model::duplicate(store.tree.get());
    if (!model::store(*store.models, &tree, target, text, &error->text)) return false;
    *changed = !model::identical(store.tree.get(), tree.get());
    if (!*changed) return true;
    store.tree = model::freeze(std::move(tree));
    save(store);
    return true;
}

} // namespace agent
