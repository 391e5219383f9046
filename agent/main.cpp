#include <cstdio>

#include "agent/agent.h"
#include "service/log.h"

int main(int argc, char **argv)
{
    agent::Agent daemon;
    std::string error;
    int status = 0;
    if (!agent::take_options({argv + 1, argv + argc}, &daemon.options, &status)) return status;
    service::open_log("gw-agent", daemon.options.echo_log);
    if (!agent::start_agent(daemon, &error)) {
        fprintf(stderr, "gw-agent: %s\n", error.c_str());
        service::log(LOG_CRIT, "cannot start: %s", error.c_str());
        return 1;
    }
    return agent::run_loop(daemon.loop) ? 0 : 1;
}
