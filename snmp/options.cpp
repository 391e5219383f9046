#include "snmp/options.h"

#include "service/options.h"

namespace snmp {

bool take_options(std::span<char *const> args, Options *options, int *status)
{
    const service::Option rows[] = {
        {"--listen", "ADDRESS,...", &options->listen                            },
        {"--config", "FILE",        &options->config                            },
        {"--state",  "DIR",         &options->state_dir                         },
        {"--agent",  "PORT",        service::PortNumber{&options->agent_port, 1}},
    };
    return service::take_options({"gw-snmp", rows, &options->echo_log}, args, status);
}

} // namespace snmp
