// The models loaded once per test program, and short ways to trees of them.
#ifndef GW_TESTS_UNIT_AGENT_MODEL_FIXTURE_H
#define GW_TESTS_UNIT_AGENT_MODEL_FIXTURE_H

#include <string>

#include "agent/model/handles.h"
#include "agent/model/models.h"
#include "fakes/protocol.h"
#include "protocol/hello.h"

const model::Models &models();

using fakes::words;

// One edit such as "snmp disable false"; a line that begins with "-" removes.
bool apply(model::Tree *tree, const std::string &line, proto::Error *error);

// A validated tree: the pool 10.0.23.0/24 and what these edits, with ";" between them, make of it. A failed expectation
// and empty if one of them was refused.
model::Tree config(const std::string &edits);
// The same on top of another tree.
model::Tree changed(const model::Tree &tree, const std::string &edits);

#endif
