// A state directory in which one file holds anything: the agent still starts, with a whole configuration. The first
// byte chooses the file, the rest is its text, with a trailer that fits unless the byte is odd.
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "agent/agent.h"
#include "agent/app_state.h"
#include "agent/persist.h"
#include "agent/unconfirmed.h"
#include "service/log.h"

namespace service {

void open_log(const char * /*name*/, bool /*echo*/) {}
void log(int /*priority*/, const char * /*format*/, ...) {}

} // namespace service

namespace {

constexpr const char *names[] = {"running.json",
                                 "config.3.json",
                                 "app-tarvod.state",
                                 "app-tarvod.1.json",
                                 "confirm.state",
                                 "operational.json",
                                 "config.99999999999999999999.json"};

struct Folder {
    std::string path = std::filesystem::is_directory("/dev/shm") ? "/dev/shm/gw-fuzz.XXXXXX" : "/tmp/gw-fuzz.XXXXXX";

    Folder()
    {
        if (mkdtemp(path.data()) == nullptr) abort();
    }
    ~Folder() { std::filesystem::remove_all(path); }
    Folder(const Folder &) = delete;
    Folder &operator=(const Folder &) = delete;
};

void empty(const std::string &dir)
{
    for (const std::string &name : agent::list_files(dir))
        agent::remove_file(dir, name);
}

// As start_agent() does, without the port.
void start(agent::Agent &agent, const model::Models &models, const std::string &dir)
{
    std::string error;
    agent.loop = agent::open_loop();
    if (!open_datastore(models, dir, GW_SOURCE_DIR "/agent/factory.json", &agent.store, &error)) abort();
    open_oper_store(models, dir, &agent.oper);
    load_applications(agent);
    resume_unconfirmed(agent);
}

void check(const agent::Agent &agent, const std::string &dir)
{
    agent::Version stored;
    std::string why;
    if (!read_version(agent.store, "running.json", &stored, &why)) abort();
    if (stored.stamp.txid == 0 || agent.store.last_txid < stored.stamp.txid) abort();
    if (stored.stamp.txid != agent.store.running.stamp.txid) abort();
    for (const std::string &name : agent::list_files(dir)) {
        if (name.ends_with(".new")) abort();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const Folder folder;
    static std::string error;
    static const model::ModelsHandle models = model::load(GW_SOURCE_DIR "/yang", &error);
    if (size == 0) return 0;
    const std::string text(reinterpret_cast<const char *>(data) + 1, size - 1);
    const std::string name = names[data[0] / 2 % std::size(names)];
    const agent::Document document{
        {1, 0, ""},
        text
    };
    agent::replace_file(folder.path, name, data[0] % 2 == 0 ? with_trailer(document) : text, agent::Sync::none, &error);
    {
        agent::Agent agent;
        start(agent, *models, folder.path);
        check(agent, folder.path);
    }
    empty(folder.path);
    return 0;
}
