#ifndef GW_AGENT_OPTIONS_H
#define GW_AGENT_OPTIONS_H

#include <cstdint>
#include <span>
#include <string>

#include "protocol/frame.h"

namespace agent {

struct Options {
    std::string model_dir = GW_MODEL_DIR;
    std::string state_dir = GW_STATE_DIR;
    std::string factory = GW_FACTORY_FILE;
    std::uint16_t port = proto::default_port; // on 127.0.0.1, always
    bool echo_log = false;
};

// See service::take_options().
bool take_options(std::span<char *const> args, Options *options, int *status);

} // namespace agent

#endif
