#include "agent/options.h"

#include "service/options.h"

namespace agent {

bool take_options(std::span<char *const> args, Options *options, int *status)
{
    const service::Option rows[] = {
        {"--models",  "DIR",  &options->model_dir                   },
        {"--state",   "DIR",  &options->state_dir                   },
        {"--factory", "FILE", &options->factory                     },
        {"--listen",  "PORT", service::PortNumber{&options->port, 0}},
    };
    return service::take_options({"gw-agent", rows, &options->echo_log}, args, status);
}

} // namespace agent
