#include <cstdio>

#include "snmp/gateway.h"
#include "snmp/log.h"
#include "snmp/wait.h"

int main(int argc, char **argv)
{
    snmp::Gateway gateway;
    std::string error;
    switch (snmp::parse_options(argc, argv, &gateway.options, &error)) {
    case snmp::ParseResult::help:
        fputs(snmp::usage, stdout);
        return 0;
    case snmp::ParseResult::wrong:
        fprintf(stderr, "gw-snmp: %s\n%s", error.c_str(), snmp::usage);
        return 2;
    case snmp::ParseResult::run:
        break;
    }
    snmp::open_log(gateway.options.echo_log);
    const snmp::Descriptor signals(snmp::open_signals());
    if (signals.fd < 0 || !snmp::start_gateway(&gateway)) {
        fputs("gw-snmp: cannot start; the log says why\n", stderr);
        snmp::log(LOG_CRIT, "cannot start");
        return 1;
    }
    const bool ended = snmp::run_loop(&gateway, signals.fd);
    if (ended) snmp::log(LOG_NOTICE, "ending on a signal");
    snmp::stop_master(&gateway.master);
    return ended ? 0 : 1;
}
