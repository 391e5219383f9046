// What the configuration says about SNMP. Pure.
#ifndef GW_SNMP_CONFIG_H
#define GW_SNMP_CONFIG_H

#include <cstdint>
#include <string>
#include <vector>

#include "protocol/client.h"

namespace snmp {

struct Target {
    std::string address; // IPv4 or IPv6 literal
    std::uint16_t port = 0;
    std::string community;

    bool operator==(const Target &) const = default;
};

struct Config {
    bool answers = false; // requests of managers; traps are sent in any case
    std::vector<Target> targets;

    bool operator==(const Config &) const = default;
};

// From /snmp of the running configuration, defaults included. A target without a usable address is left out.
Config config_of(const proto::Tree &tree);

} // namespace snmp

#endif
