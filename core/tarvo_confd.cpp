#include "core/tarvo_confd.h"

#include <array>
#include <cstddef>
#include <cstring>
#include <string_view>
#include <unistd.h>

#include "config/ip_passthrough.h"
#include "config/snmp_settings.h"
#include "config/tarvo_config.h"
#include "core/base/log.h"
#include "core/data_providers.h"
#include "dhcp/dhcp_lists.h"
#include "dhcp/dhcp_pool.h"
#include "monitor/if_stats.h"
#include "pat/static_nat.h"

namespace {

constexpr const char *wifi_marker = "/var/platform/has_wifi";
constexpr char standalone_prefix[] = "/click/routing/";
static_assert(sizeof standalone_prefix <= sizeof click_routing_prefix);

// Namespaces of the models.
constexpr std::uint32_t gw_system = 0x6b64eac0;
constexpr std::uint32_t gw_snmp = 0x51c03854;
constexpr std::uint32_t gw_cellular = 0x0c7acb07;

struct Subscription {
    std::string_view path;
    tollan_handler handler;
    std::uint32_t ns_hash;
    std::uint8_t priority; // low ones are delivered first
    std::uint8_t flags;
    std::uint8_t oper;
};

// clang-format off
constexpr Subscription subscriptions[] = {
    {"interface/GigabitEthernet",                        tarvo_config_gigabitethernet,         gw_system,   1, 0x16, 0x00},
    {"interface",                                        tarvo_config_interface,               gw_system,   1, 0x10, 0x00},
    {"ip/dhcp/pool",                                     tarvo_config_dhcp_pool,               gw_system,   0, 0x16, 0x00},
    {"ip/dhcp/pool/options/option",                      tarvo_config_dhcp_options,            gw_system,   1, 0x16, 0x00},
    {"ip/dhcp/pool/mac-binding",                         tarvo_config_dhcp_mac_binding,        gw_system,   1, 0x16, 0x00},
    {"ip/dhcp/excluded-address/excluded-address-range",  tarvo_config_dhcp_excluded_addresses, gw_system,   1, 0x16, 0x00},
    {"system/passthrough",                               tarvo_config_ip_passthrough,          gw_system,   0, 0x16, 0x00},
    {"cellular{1}/details",                              tarvo_oper_cellular_notification_cb,  gw_cellular, 0, 0x16, 0x10},
    {"ip/nat/inside/source/static/tcp-udp-list",         tarvo_config_ip_static_nat,           gw_system,   3, 0x16, 0x00},
    {"gw-snmp:snmp/trap/target",                         tarvo_snmp_trap_target_cb,            gw_snmp,     2, 0x06, 0x00},
    {"gw-snmp:snmp",                                     tarvo_snmp_settings_cb,               gw_snmp,     0, 0x06, 0x00},
};

struct ValidationPoint {
    std::string_view name;
    decltype(confd_valpoint_cb::validate) validate;
};

constexpr ValidationPoint validation_points[] = {
    {"validate_interface",                     tarvo_validate_interface},
    {"validate_netmask",                       tarvo_validate_netmask},
    {"validate_interface_type",                tarvo_validate_interface_type},
    {"validate_dhcp_subnet_prefix",            tarvo_validate_dhcp_subnet_prefix},
    {"validate_dhcp_excluded_range",           tarvo_validate_dhcp_excluded_range},
    {"validate_dhcp_mac_binding",              tarvo_validate_dhcp_mac_binding},
    {"validate_passthrough_feature_disabled",  tarvo_validate_passthrough_feature_disabled},
    {"validate_passthrough_feature_supported", tarvo_validate_passthrough_feature_supported},
};
// clang-format on

// Room for the terminating NUL included; a name that does not fit does not compile.
template <std::size_t size> consteval void set_name(char (&field)[size], std::string_view name)
{
    if (name.size() >= size) throw "name too long";
    for (std::size_t i = 0; i < name.size(); ++i) {
        field[i] = name[i];
    }
}

// The tables in the library's layout, each ended by an all-zero entry.
consteval auto make_subscription_table()
{
    std::array<tollan_subscription, std::size(subscriptions) + 1> table{};
    for (std::size_t i = 0; i < std::size(subscriptions); ++i) {
        const Subscription &row = subscriptions[i];
        set_name(table[i].path, row.path);
        table[i].handler = row.handler;
        table[i].ns_hash = row.ns_hash;
        table[i].priority = row.priority;
        table[i].flags = row.flags;
        table[i].oper = row.oper;
    }
    return table;
}

consteval auto make_validation_point_table()
{
    std::array<confd_valpoint_cb, std::size(validation_points) + 1> table{};
    for (std::size_t i = 0; i < std::size(validation_points); ++i) {
        set_name(table[i].valpoint, validation_points[i].name);
        table[i].validate = validation_points[i].validate;
    }
    return table;
}

consteval auto make_action_point_table()
{
    std::array<confd_action_cbs, 2> table{};
    set_name(table[0].actionpoint, "clear_counter_action_point");
    table[0].action = clear_counters_action;
    return table;
}

// Writable because the library keeps its own word in each subscription; the daemon never changes them.
constinit auto SubscriptionTable = make_subscription_table();
constinit auto ValidationPointTable = make_validation_point_table();
constinit auto ActionPointTable = make_action_point_table();

static_assert(SubscriptionTable.size() == 12 && make_subscription_table().back().path[0] == '\0');
static_assert(ValidationPointTable.size() == 9 && make_validation_point_table().back().valpoint[0] == '\0');
static_assert(make_action_point_table().back().actionpoint[0] == '\0');

static_assert(sizeof(tollan_subscription) == TOLLAN_ENTRY_SIZE && offsetof(tollan_subscription, path) == 8 &&
              offsetof(tollan_subscription, handler) == 136 && offsetof(tollan_subscription, ns_hash) == 152 &&
              offsetof(tollan_subscription, priority) == 164 && offsetof(tollan_subscription, flags) == 165 &&
              offsetof(tollan_subscription, oper) == 166);
static_assert(sizeof(confd_valpoint_cb) == 272 && offsetof(confd_valpoint_cb, validate) == 256);
static_assert(sizeof(confd_action_cbs) == 304 && offsetof(confd_action_cbs, action) == 272);
static_assert(sizeof(confd_tag_value_t) == 48);
static_assert(sizeof(TollanModuleParams) == 112 && offsetof(TollanModuleParams, register_data) == 56 &&
              offsetof(TollanModuleParams, evbase) == 80 && offsetof(TollanModuleParams, timer_mgr) == 88 &&
              offsetof(TollanModuleParams, byte96) == 96 && offsetof(TollanModuleParams, word104) == 104);
static_assert(offsetof(tollan_ctx, dx) == 112);

TollanModuleParams module_params(TarvoDaemon *daemon)
{
    TollanModuleParams params{};
    params.user = daemon;
    params.subscriptions = SubscriptionTable.data();
    params.validation_points = ValidationPointTable.data();
    params.action_points = ActionPointTable.data();
    params.register_data = tarvo_confd_register_data_cbs;
    params.evbase = daemon->evbase;
    params.timer_mgr = daemon->timer_mgr;
    params.byte96 = 1;
    params.word104 = 2;
    return params;
}

// Without the WiFi router beside it, the appliance's data plane keeps its routing elements elsewhere.
void probe_platform()
{
    if (access(wifi_marker, F_OK) == 0) return;
    _router_standalone_mode = 1;
    memcpy(click_routing_prefix, standalone_prefix, sizeof standalone_prefix);
}

} // namespace

int register_with_agent(TarvoDaemon *daemon)
{
    const TollanModuleParams params = module_params(daemon);
    const int status = tollan_module_init(&params, nullptr, &daemon->tollan_ctx);
    if (status != 0 && status != 3) {
        log_guarded(LOG_CRIT, "tollan module init failed\n");
        return 1;
    }
    log_guarded(LOG_DEBUG, "tollan module initialized \n");
    probe_platform();
    return 0;
}

void deregister_from_agent(TarvoDaemon *daemon)
{
    if (daemon->tollan_ctx != nullptr) tollan_module_deinit(daemon->tollan_ctx);
}

int tarvo_confd_register_data_cbs(tollan_ctx *ctx)
{
    if (tarvo_show_init(ctx->dx) != 0) return 1;
    return tarvo_snmp_init(ctx->dx) != 0 ? 1 : 0;
}
