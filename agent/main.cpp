#include <cstdio>

#include "agent/agent.h"
#include "agent/log.h"

int main(int argc, char **argv)
{
    agent::Agent daemon;
    std::string error;
    switch (agent::parse_options(argc, argv, &daemon.options, &error)) {
    case agent::ParseResult::help:
        fputs(agent::usage, stdout);
        return 0;
    case agent::ParseResult::wrong:
        fprintf(stderr, "gw-agent: %s\n%s", error.c_str(), agent::usage);
        return 2;
    case agent::ParseResult::run:
        break;
    }
    agent::open_log(daemon.options.echo_log);
    if (!agent::start_agent(daemon, &error)) {
        fprintf(stderr, "gw-agent: %s\n", error.c_str());
        agent::log(LOG_CRIT, "cannot start: %s", error.c_str());
        return 1;
    }
    return agent::run_loop(daemon.loop) ? 0 : 1;
}
