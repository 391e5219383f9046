// What changed between two trees, as the calls that an application's subscriptions get.
//
// A row that wants values gets what changed below its path, except what lies below the path of a deeper row that wants
// values. On a list it gets one call per changed entry, with the entry's keys, else one call without keys. A row that
// does not want values gets, besides the others, one call without values per changed entry of its list, or of each list
// directly below its container.
//
// Pairs are the leaves that were created or changed in value, defaults included, each leaf-list as one list; containers
// around them come as begin and end elements. Keys, deleted leaves and the row's own node carry none.
//
// Trees are as validate() leaves them: with their defaults present. Null is the empty tree.
#ifndef GW_AGENT_MODEL_DELIVERIES_H
#define GW_AGENT_MODEL_DELIVERIES_H

#include <string>
#include <vector>

#include "agent/model/models.h"
#include "agent/model/paths.h"
#include "protocol/application.h"

struct lyd_node;

namespace model {

struct Row {
    proto::Subscription sub;
    Target target;
};

// In the order of the subscriptions. False with *error set: a path that names no container or list, or that leads
// through a list without naming its entry.
bool prepare(const Models &models, const std::vector<proto::Subscription> &subscriptions, std::vector<Row> *rows,
             std::string *error);

// The calls of a commit, or of a process that reconnects: rows by priority (ascending) and table order; within a row
// the deleted entries, then the modified, then the created ones, each in datastore order. index and total are set, txid
// is the caller's. Configuration rows only.
std::vector<proto::Deliver> difference(const Models &models, const std::vector<Row> &rows, const lyd_node *acknowledged,
                                       const lyd_node *running);

// The calls of a new process: the deletions of that difference, then everything as created. A container all of whose
// leaves hold their defaults is left out.
std::vector<proto::Deliver> first_delivery(const Models &models, const std::vector<Row> &rows,
                                           const lyd_node *acknowledged, const lyd_node *running);

// The same as difference() for the operational rows only.
std::vector<proto::Deliver> operational_change(const Models &models, const std::vector<Row> &rows,
                                               const lyd_node *before, const lyd_node *after);

struct Check {
    std::string point;
    std::string path; // for people
    proto::KeyPath wire_path;
    proto::Value value;
};

// The validation points to ask, in schema order: of the leaves that are created or change in value.
std::vector<Check> checks(const Models &models, const lyd_node *before, const lyd_node *after);

} // namespace model

#endif
