#include "core/data_providers.h"

#include <cstdint>
#include <cstring>

#include "confd.h"
#include "core/base/log.h"
#include "dhcp/dhcp_leases.h"
#include "pat/pat_table.h"
#include "show/tarvo_show.h"
#include "show/tarvo_snmp.h"
#include "show/transceiver.h"

namespace {

static_assert(sizeof(confd_data_cbs) == 408);

// The callbacks of a callpoint; those left out are never called.
struct Callbacks {
    decltype(confd_data_cbs::get_elem) get_elem = nullptr;
    decltype(confd_data_cbs::get_next) get_next = nullptr;
    decltype(confd_data_cbs::get_object) get_object = nullptr;
    decltype(confd_data_cbs::get_next_object) get_next_object = nullptr;
    decltype(confd_data_cbs::find_next_object) find_next_object = nullptr;
};

// clang-format off
constexpr Callbacks show_interface    {.get_next = tarvo_show_interface_get_next, .get_object = tarvo_show_interface_get_object};
constexpr Callbacks show_pat          {.get_elem = tarvo_show_pat_get_elem, .get_next = tarvo_show_pat_get_next};
constexpr Callbacks dhcp_pool_stats   {.get_elem = tarvo_show_dhcp_pool_stats_get_elem};
constexpr Callbacks dhcp_binding      {.get_next = tarvo_show_dhcp_binding_get_next, .get_object = tarvo_show_dhcp_binding_get_object};
constexpr Callbacks rtm_if            {.get_elem = tarvo_show_rtm_if_get_elem, .get_next = tarvo_show_rtm_if_get_next};
constexpr Callbacks oper_status       {.get_elem = tarvo_show_transceiver_oper_status_get_elem};
constexpr Callbacks idprom_info       {.get_elem = tarvo_show_transceiver_idprom_info_get_elem};
constexpr Callbacks if_mib_stats      {.get_object = tarvo_if_mib_get_object, .get_next_object = tarvo_if_mib_get_next, .find_next_object = tarvo_if_mib_find_next};
constexpr Callbacks if_mib_interfaces {.get_elem = tarvo_if_mib_get_elem};
// clang-format on

enum class Report : std::uint8_t { none, guarded, trace };

struct DataProvider {
    char callpoint[256];
    const Callbacks *callbacks;
    Report report; // of a failure
    int level;
    const char *message;
};

// clang-format off
constexpr DataProvider show_providers[] = {
    {"interface_brief_cellular",         &show_interface,  Report::guarded, LOG_ERR,   "Failed to register - show interface brief Cellular cb"},
    {"interface_brief_gigabitethernet",  &show_interface,  Report::guarded, LOG_ERR,   "Failed to register - show interface brief GigabitEthernet cb"},
    {"pat_cp",                           &show_pat,        Report::trace,   LOG_ERR,   "Failed to register data cb for show pat"},
    {"dhcp_pool_stats",                  &dhcp_pool_stats, Report::none,    LOG_ERR,   ""},
    {"dhcp_binding",                     &dhcp_binding,    Report::trace,   LOG_ERR,   "Failed to register data cb for show ip dhcp binding"},
    {"interface_detail_cellular",        &show_interface,  Report::guarded, LOG_ERR,   "Failed to register - show interface detail Cellular cb"},
    {"interface_detail_gigabitethernet", &show_interface,  Report::guarded, LOG_ERR,   "Failed to register - show interface detail GigabitEthernet cb"},
    {"rtm-if",                           &rtm_if,          Report::guarded, LOG_ERR,   "Failed to register - show zelora oper interfaces cb"},
    {"oper_status",                      &oper_status,     Report::guarded, LOG_DEBUG, "Failed to register - show transceiver oper status cb"},
    {"idprom_info",                      &idprom_info,     Report::guarded, LOG_DEBUG, "Failed to register - show transceiver idprom info cb"},
};

constexpr DataProvider snmp_providers[] = {
    {"if-mib-interface-stats", &if_mib_stats,      Report::trace, LOG_ERR, "Failed to register - IF-MIB interface stats"},
    {"if-mib-interfaces",      &if_mib_interfaces, Report::trace, LOG_ERR, "Failed to register - IF-MIB interfaces"},
};
// clang-format on

void report_failure(const DataProvider &provider, TracePoint function)
{
    if (provider.report == Report::guarded) log_guarded(provider.level, "%s", provider.message);
    if (provider.report == Report::trace) log_trace(provider.level, function, "%s", provider.message);
}

confd_data_cbs record_of(const DataProvider &provider)
{
    confd_data_cbs record{};
    memcpy(record.callpoint, provider.callpoint, sizeof record.callpoint);
    record.get_elem = provider.callbacks->get_elem;
    record.get_next = provider.callbacks->get_next;
    record.get_object = provider.callbacks->get_object;
    record.get_next_object = provider.callbacks->get_next_object;
    record.find_next_object = provider.callbacks->find_next_object;
    return record;
}

bool register_provider(confd_daemon_ctx *dx, const DataProvider &provider, TracePoint function)
{
    const confd_data_cbs record = record_of(provider);
    if (confd_register_data_cb(dx, &record) != CONFD_ERR) return true;
    report_failure(provider, function);
    return false;
}

} // namespace

int tarvo_show_init(confd_daemon_ctx *dx)
{
    for (const DataProvider &provider : show_providers) {
        if (!register_provider(dx, provider, "tarvo_show_init")) return 1;
    }
    return 0;
}

int tarvo_snmp_init(confd_daemon_ctx *dx)
{
    for (const DataProvider &provider : snmp_providers) {
        if (!register_provider(dx, provider, "tarvo_snmp_init")) return 1;
    }
    return 0;
}
