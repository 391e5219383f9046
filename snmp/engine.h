// Who this agent is to SNMPv3 managers, kept from start to start: without it they would refuse its answers as replayed.
#ifndef GW_SNMP_ENGINE_H
#define GW_SNMP_ENGINE_H

#include <string>
#include <string_view>

namespace snmp {

// Lines of the agent library's configuration: snmpEngineID, and snmpEngineBoots of the start before.
struct Engine {
    std::string id; // hexadecimal
    unsigned long boots = 0;
};

// False when the text is not what render_engine() makes.
bool parse_engine(std::string_view text, Engine *engine);
std::string render_engine(const Engine &engine);

// Tells the agent library, before it starts. Without a readable file it makes an identifier of its own.
void load_engine(const std::string &dir);
// Writes what the agent library has come to, after it has started. Failing to is logged.
void store_engine(const std::string &dir);

} // namespace snmp

#endif
