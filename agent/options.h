#ifndef GW_AGENT_OPTIONS_H
#define GW_AGENT_OPTIONS_H

#include <cstdint>
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

enum class ParseResult : std::uint8_t { run, help, wrong };

// wrong: *error names the argument.
ParseResult parse_options(int argc, char *const *argv, Options *options, std::string *error);
extern const char *const usage;

} // namespace agent

#endif
