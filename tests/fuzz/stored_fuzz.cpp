// A state directory in which one file holds anything: the agent still starts, with a whole configuration. The first
// byte chooses the file, the rest is its text, with a trailer that fits unless the byte is odd.
#include "agent/agent.h"
#include "agent/app_state.h"
#include "agent/persist.h"
#include "agent/unconfirmed.h"
#include "quiet.h"
#include "target.h"

namespace {

constexpr const char *names[] = {"running.json",
                                 "config.3.json",
                                 "app-tarvod.state",
                                 "app-tarvod.1.json",
                                 "confirm.state",
                                 "operational.json",
                                 "config.99999999999999999999.json"};

// As start_agent() does, without the port.
void start(agent::Agent &agent, const model::Models &models, const std::string &dir)
{
    std::string error;
    agent.loop = agent::open_loop();
    require(open_datastore(models, dir, GW_SOURCE_DIR "/agent/factory.json", &agent.store, &error));
    open_oper_store(models, dir, &agent.oper);
    load_applications(agent);
    resume_unconfirmed(agent);
}

void check_state(const agent::Agent &agent, const std::string &dir)
{
    agent::Version stored;
    std::string why;
    require(read_version(agent.store, "running.json", &stored, &why));
    require(stored.stamp.txid != 0 && agent.store.last_txid >= stored.stamp.txid);
    require(stored.stamp.txid == agent.store.running.stamp.txid);
    for (const std::string &name : agent::list_files(dir))
        require(!name.ends_with(".new"));
}

} // namespace

void check(std::string_view input)
{
    static const Folder folder;
    static std::string error;
    static const model::ModelsHandle models = model::load(GW_SOURCE_DIR "/yang", &error);
    const std::uint8_t choice = take_byte(&input);
    const std::string text(input);
    const std::string name = names[choice / 2 % std::size(names)];
    const agent::Document document{
        {1, 0, ""},
        text
    };
    agent::replace_file(folder.path, name, choice % 2 == 0 ? with_trailer(document) : text, agent::Sync::none, &error);
    {
        agent::Agent agent;
        start(agent, *models, folder.path);
        check_state(agent, folder.path);
    }
    for (const std::string &left : agent::list_files(folder.path))
        agent::remove_file(folder.path, left);
}
