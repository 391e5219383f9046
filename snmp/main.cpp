#include <cstdio>

#include "service/descriptor.h"
#include "service/log.h"
#include "snmp/gateway.h"
#include "snmp/wait.h"

int main(int argc, char **argv)
{
    snmp::Gateway gateway;
    int status = 0;
    if (!snmp::take_options({argv + 1, argv + argc}, &gateway.options, &status)) return status;
    service::open_log("gw-snmp", gateway.options.echo_log);
    const service::Descriptor signals(snmp::open_signals());
    if (signals.fd < 0 || !snmp::start_gateway(&gateway)) {
        fputs("gw-snmp: cannot start; the log says why\n", stderr);
        service::log(LOG_CRIT, "cannot start");
        return 1;
    }
    const bool ended = snmp::run_loop(&gateway, signals.fd);
    if (ended) service::log(LOG_NOTICE, "ending on a signal");
    snmp::stop_master(&gateway.master);
    return ended ? 0 : 1;
}
