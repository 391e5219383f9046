#include <cstring>
#include <filesystem>

#include <gtest/gtest.h>

#include "config/tarvo_config.h"
#include "core/data_providers.h"
#include "core/tarvo_confd.h"
#include "fakes/files.h"
#include "fakes/platform.h"
#include "fakes/record.h"
#include "monitor/if_stats.h"

namespace {

// A record of the library: zeros but for these words and texts.
std::string record(std::size_t size, std::initializer_list<std::pair<std::size_t, const void *>> words,
                   std::initializer_list<std::pair<std::size_t, std::string_view>> texts = {})
{
    std::string bytes(size, '\0');
    for (const auto &[offset, word] : words) {
        bytes.replace(offset, sizeof word, std::string(reinterpret_cast<const char *>(&word), sizeof word));
    }
    for (const auto &[offset, text] : texts) {
        bytes.replace(offset, text.size(), text);
    }
    return bytes;
}

template <class Function> const void *address(Function *function)
{
    return reinterpret_cast<const void *>(function);
}

std::string_view entry(const void *table, std::size_t size, std::size_t number)
{
    return {static_cast<const char *>(table) + size * number, size};
}

// clang-format off
void check_records(const TollanModuleParams &params, const TarvoDaemon &daemon)
{
    const auto word = [](std::uintptr_t value) { return reinterpret_cast<const void *>(value); };
    EXPECT_EQ(entry(&params, 112, 0),
              record(112, {{0, &daemon}, {8, params.subscriptions}, {16, params.validation_points},
                           {24, params.action_points}, {56, address(tarvo_confd_register_data_cbs)},
                           {80, daemon.evbase}, {88, daemon.timer_mgr}, {96, word(1)}, {104, word(2)}}));
    const auto subscription = [&](std::size_t number) { return entry(params.subscriptions, 184, number); };
    EXPECT_EQ(subscription(0),
              record(184, {{136, address(tarvo_config_gigabitethernet)}},
                     {{8, "interface/GigabitEthernet"}, {152, "\xc0\xea\x64\x6b"}, {164, "\x01\x16"}}));
    EXPECT_EQ(subscription(7).substr(152, 4), "\x07\xcb\x7a\x0c");
    const std::string_view deliveries = "01 16 00 01 10 00 00 16 00 01 16 00 01 16 00 01 16 00 "
                                        "00 16 00 00 16 10 03 16 00 02 06 00 00 06 00 ";
    std::string found; // priority, flags and oper of each row
    for (std::size_t i = 0; i < 33; i++) {
        char hex[4];
        snprintf(hex, sizeof hex, "%02x ", static_cast<unsigned char>(subscription(i / 3)[164 + i % 3]));
        found += hex;
    }
    EXPECT_EQ(found, deliveries);
    EXPECT_STREQ(subscription(9).data() + 8, "gw-snmp:snmp/trap/target");
    EXPECT_EQ(subscription(11), record(184, {}));
    const auto point = [&](std::size_t number) { return entry(params.validation_points, 272, number); };
    EXPECT_EQ(point(0), record(272, {{256, address(tarvo_validate_interface)}}, {{0, "validate_interface"}}));
    EXPECT_NE(point(7)[0], '\0');
    EXPECT_EQ(point(8), record(272, {}));
    EXPECT_EQ(entry(params.action_points, 304, 0),
              record(304, {{272, address(clear_counters_action)}}, {{0, "clear_counter_action_point"}}));
    EXPECT_EQ(entry(params.action_points, 304, 1), record(304, {}));
}
// clang-format on

TEST(Registration, HandsOverTheRecordsInTheLibrarysLayout)
{
    fakes::reset();
    TarvoDaemon daemon{};
    daemon.evbase = reinterpret_cast<event_base *>(&daemon.pid);
    daemon.timer_mgr = &daemon.daemonize;
    fakes::outcomes.on_init = [&](const TollanModuleParams &params) { check_records(params, daemon); };
    EXPECT_EQ(register_with_agent(&daemon), 0);
    EXPECT_NE(daemon.tollan_ctx, nullptr);
    EXPECT_EQ(fakes::taken(), fakes::Events{"tollan_module_init"});
}

TEST(Registration, ProbesThePlatformOnlyAfterSuccess)
{
    struct {
        int status, result;
        const char *prefix;
        int standalone;
        bool has_wifi;
    } const cases[] = {
        {0, 0, "/click/integrated_router/", 0, true },
        {1, 1, "/click/integrated_router/", 0, false},
        {2, 1, "/click/integrated_router/", 0, false},
        {3, 0, "/click/routing/",           1, false},
    };
    for (const auto &c : cases) {
        fakes::reset();
        fakes::outcomes.module_init = c.status;
        strcpy(click_routing_prefix, "/click/integrated_router/");
        _router_standalone_mode = 0;
        std::filesystem::remove_all("/var/platform");
        if (c.has_wifi) fakes::write_file("/var/platform/has_wifi", "");
        TarvoDaemon daemon{};
        EXPECT_EQ(register_with_agent(&daemon), c.result) << c.status;
        EXPECT_STREQ(click_routing_prefix, c.prefix) << c.status;
        EXPECT_EQ(_router_standalone_mode, c.standalone) << c.status;
    }
}

TEST(Registration, StopsAtTheProviderThatIsRefused)
{
    const std::string show = "error: Failed to register - show ";
    const std::string show_init = "error: tarvo_show_init[#]: Failed to register data cb for show ";
    const std::string snmp_init = "error: tarvo_snmp_init[#]: Failed to register - IF-MIB ";
    // clang-format off
    const struct {
        const char *callpoint, *calls;
        std::string log;
    } cases[] = {
        {"interface_brief_cellular",         " next object", show + "interface brief Cellular cb"},
        {"interface_brief_gigabitethernet",  " next object", show + "interface brief GigabitEthernet cb"},
        {"pat_cp",                           " elem next", show_init + "pat"},
        {"dhcp_pool_stats",                  " elem", ""},
        {"dhcp_binding",                     " next object", show_init + "ip dhcp binding"},
        {"interface_detail_cellular",        " next object", show + "interface detail Cellular cb"},
        {"interface_detail_gigabitethernet", " next object", show + "interface detail GigabitEthernet cb"},
        {"rtm-if",                           " elem next", show + "zelora oper interfaces cb"},
        {"oper_status",                      " elem", "debug: Failed to register - show transceiver oper status cb"},
        {"idprom_info",                      " elem", "debug: Failed to register - show transceiver idprom info cb"},
        {"if-mib-interface-stats",           " object next-object find-next", snmp_init + "interface stats"},
        {"if-mib-interfaces",                " elem", snmp_init + "interfaces"},
    };
    // clang-format on
    tollan_ctx ctx{};
    fakes::Events before;
    for (const auto &[callpoint, calls, log] : cases) {
        before.push_back(std::string("provider: ") + callpoint + calls);
        for (const bool logging : {true, false}) {
            fakes::reset();
            g_logger_p = logging ? &g_logger : nullptr;
            fakes::outcomes.refused_callpoint = callpoint;
            EXPECT_EQ(tarvo_confd_register_data_cbs(&ctx), 1);
            fakes::Events expected = before;
            const bool unguarded = log.find("[#]") != std::string::npos;
            if (!log.empty() && (logging || unguarded)) expected.push_back(log);
            EXPECT_EQ(fakes::taken(), expected);
        }
    }
    fakes::reset();
    EXPECT_EQ(tarvo_confd_register_data_cbs(&ctx), 0);
    EXPECT_EQ(fakes::taken(), before);
}

} // namespace
