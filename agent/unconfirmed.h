// The state of a confirmed commit between its store and its confirmation.
#ifndef GW_AGENT_UNCONFIRMED_H
#define GW_AGENT_UNCONFIRMED_H

#include <cstdint>
#include <string>

#include "agent/request.h"

namespace agent {

// Written before the configuration that it speaks of: it counts only while that transaction is the running one.
bool announce_unconfirmed(Agent &agent, std::uint32_t seconds, std::string *error);
// The announced transaction is running and being delivered.
void hold_unconfirmed(Agent &agent, std::uint64_t previous);
// It is about to be answered: from now on the time runs, at whose end the agent goes back. Before, it runs only for an
// agent that was ended while it delivered.
void await_confirmation(Agent &agent, std::uint32_t seconds);
void forget_unconfirmed(Agent &agent);

// Commits the configuration of a transaction again, ahead of those that wait (commit.cpp).
void queue_restore(Agent &agent, Request request, std::uint64_t txid, const std::string &comment);

} // namespace agent

#endif
