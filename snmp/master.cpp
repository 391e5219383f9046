#include "snmp/master.h"

#include <cstdlib>
#include <cstring>
#include <unistd.h>

#include "service/log.h"
#include "snmp/engine.h"
#include "snmp/netsnmp.h"

// Parts of the library whose headers are not installed.
extern "C" {
void init_system_mib(void);
void init_sysORTable(void);
void init_vacm_config_tokens(void);
void init_vacm_snmpd_easy_tokens(void);
}

namespace snmp {

namespace {

constexpr char name[] = "gw-snmp";

int on_library_log(int /*major*/, int /*minor*/, void *message, void * /*context*/)
{
    const auto *line = static_cast<const snmp_log_message *>(message);
    service::log(line->priority, "%.*s", static_cast<int>(strcspn(line->msg, "\n")), line->msg);
    return 0;
}

void log_through_ours()
{
    snmp_disable_log();
    snmp_register_callback(SNMP_CALLBACK_LIBRARY, SNMP_CALLBACK_LOGGING, on_library_log, nullptr);
    snmp_enable_calllog();
}

void set_flag(int flag)
{
    netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, flag, 1);
}

// No file but the one named is read, and none is written: the library's own places belong to another agent.
void keep_to_own_files(const Options &options)
{
    setenv("MIBS", "", 1);
    setenv("MIBDIRS", "", 1);
    set_flag(NETSNMP_DS_LIB_DONT_READ_CONFIGS);
    set_flag(NETSNMP_DS_LIB_DONT_PERSIST_STATE);
    set_flag(NETSNMP_DS_LIB_DONT_LOAD_HOST_FILES);
    netsnmp_ds_set_string(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_PERSISTENT_DIR, options.state_dir.c_str());
    if (access(options.config.c_str(), R_OK) == 0) {
        netsnmp_ds_set_string(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_OPTIONALCONFIG, options.config.c_str());
    } else {
        service::log(LOG_ERR, "cannot read %s: no manager has access", options.config.c_str());
    }
}

} // namespace

bool start_master(const Options &options, Tables *tables, TrapCounters *counters)
{
    log_through_ours();
    keep_to_own_files(options);
    netsnmp_ds_set_boolean(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_ROLE, 0); // master
    netsnmp_ds_set_string(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_PORTS, "none");
    netsnmp_ds_set_boolean(NETSNMP_DS_APPLICATION_ID, NETSNMP_DS_AGENT_DONT_LOG_TCPWRAPPERS_CONNECTS, 1); // each packet
    char no_smux[] = "-smux"; // else it listens on TCP port 199 too
    add_to_init_list(no_smux);
    if (init_agent(name) != 0) return false;
    init_sysORTable();
    init_system_mib();
    init_vacm_config_tokens();
    init_vacm_snmpd_easy_tokens();
    if (!register_tables(tables) || !register_trap_counters(counters)) return false;
    load_engine(options.state_dir);
    init_snmp(name);
    store_engine(options.state_dir);
    return init_master_agent() == 0;
}

void stop_master(Master *master)
{
    close_ports(master);
    snmp_shutdown(name);
    shutdown_agent();
}

bool open_ports(Master *master, const std::string &addresses)
{
    for (std::size_t at = 0; at < addresses.size();) {
        const std::size_t end = std::min(addresses.find(',', at), addresses.size());
        const std::string address = addresses.substr(at, end - at);
        const int port = netsnmp_agent_listen_on(address.c_str());
        if (port <= 0) {
            service::log(LOG_ERR, "cannot listen on %s: %s", address.c_str(), strerror(errno));
            close_ports(master);
            return false;
        }
        master->ports.push_back(port);
        at = end + 1;
    }
    return true;
}

void close_ports(Master *master)
{
    for (const int port : master->ports)
        netsnmp_deregister_agent_nsap(port);
    master->ports.clear();
}

} // namespace snmp
