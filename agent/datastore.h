// The running configuration, in memory and on disk.
//
// running.json is the running configuration; config.N.json is a hard link of what running.json was at transaction N, of
// the running one too. Rollback 1 is the configuration before the running one.
#ifndef GW_AGENT_DATASTORE_H
#define GW_AGENT_DATASTORE_H

#include <cstdint>
#include <string>
#include <vector>

#include "agent/model/handles.h"
#include "agent/model/models.h"
#include "agent/persist.h"

namespace agent {

inline constexpr std::size_t max_rollbacks = 10;

struct Version {
    Stamp stamp;
    model::Snapshot tree;
};

struct Datastore {
    const model::Models *models = nullptr;
    std::string dir;
    Version running;
    std::vector<Stamp> history; // newest first, without the running one
    std::uint64_t last_txid = 0;
};

// Reads the running configuration. A damaged one is kept aside and the newest whole rollback becomes a new running
// version; when there is none, or running.json does not exist, the factory file does. False with *error set: no usable
// configuration at all, or a directory that cannot be written.
bool open_datastore(const model::Models &models, const std::string &dir, const std::string &factory, Datastore *store,
                    std::string *error);

// Stores a validated tree as the next version, on disk before in memory, and drops the oldest rollback beyond the
// number kept. False: nothing has changed.
bool commit_version(Datastore &store, model::Tree tree, const std::string &comment, std::string *error);

// A configuration file of the directory, checked against the models.
bool read_version(const Datastore &store, const std::string &name, Version *version, std::string *why);
std::string version_name(std::uint64_t txid); // of its file

// What was set, without defaults, as a JSON document.
std::string json_text(const lyd_node *tree);

} // namespace agent

#endif
