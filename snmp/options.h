#ifndef GW_SNMP_OPTIONS_H
#define GW_SNMP_OPTIONS_H

#include <cstdint>
#include <span>
#include <string>

#include "protocol/frame.h"

namespace snmp {

struct Options {
    std::string listen = "udp:161"; // addresses as the agent library takes them, separated by commas
    std::string config = GW_SNMP_CONFIG_FILE;
    std::string state_dir = GW_SNMP_STATE_DIR;
    std::uint16_t agent_port = proto::default_port; // on 127.0.0.1, always
    bool echo_log = false;
};

// See service::take_options().
bool take_options(std::span<char *const> args, Options *options, int *status);

} // namespace snmp

#endif
