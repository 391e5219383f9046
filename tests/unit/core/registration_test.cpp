#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

#include "config/tarvo_config.h"
#include "core/data_providers.h"
#include "core/tarvo_confd.h"
#include "fakes/platform.h"
#include "fakes/record.h"
#include "monitor/if_stats.h"

namespace {

template <class T> T at(const void *record, std::size_t offset)
{
    T value;
    memcpy(&value, static_cast<const char *>(record) + offset, sizeof value);
    return value;
}

bool all_zero(const void *record, std::size_t from, std::size_t to)
{
    const char *bytes = static_cast<const char *>(record);
    return std::all_of(bytes + from, bytes + to, [](char byte) { return byte == 0; });
}

// The names at the head of a table's records, up to the all-zero one that ends it.
fakes::Events names(const char *table, std::size_t record_size, std::size_t name_offset)
{
    fakes::Events found;
    for (; table[name_offset] != '\0'; table += record_size) {
        found.emplace_back(table + name_offset);
    }
    EXPECT_TRUE(all_zero(table, 0, record_size));
    return found;
}

void check_parameters(const TollanModuleParams &params, const TarvoDaemon &daemon)
{
    EXPECT_EQ(at<const void *>(&params, 0), &daemon);
    EXPECT_TRUE(all_zero(&params, 32, 56));
    EXPECT_EQ(at<void *>(&params, 56), reinterpret_cast<void *>(tarvo_confd_register_data_cbs));
    EXPECT_TRUE(all_zero(&params, 64, 80));
    EXPECT_EQ(at<void *>(&params, 80), daemon.evbase);
    EXPECT_EQ(at<void *>(&params, 88), daemon.timer_mgr);
    EXPECT_EQ(at<std::uint64_t>(&params, 96), 1U);
    EXPECT_EQ(at<std::uint64_t>(&params, 104), 2U);
}

void check_tables(const TollanModuleParams &params)
{
    const char *subscriptions = at<const char *>(&params, 8);
    const auto paths = names(subscriptions, 184, 8);
    ASSERT_EQ(paths.size(), 11U);
    EXPECT_EQ(paths[9], "gw-snmp:snmp/trap/target");
    const std::string_view path = "interface/GigabitEthernet";
    void *const handler = reinterpret_cast<void *>(tarvo_config_gigabitethernet);
    std::string expected(184, '\0');
    expected.replace(8, path.size(), path);
    expected.replace(136, sizeof handler, std::string(reinterpret_cast<const char *>(&handler), sizeof handler));
    expected.replace(152, 4, "\xc0\xea\x64\x6b");
    expected.replace(164, 2, "\x01\x16");
    EXPECT_EQ(std::string_view(subscriptions, 184), expected);
    const char *oper_entry = subscriptions + 7UL * 184;
    EXPECT_EQ(at<std::uint32_t>(oper_entry, 152), 0x0c7acb07U);
    EXPECT_EQ(std::string_view(oper_entry + 164, 3), std::string_view("\x00\x16\x10", 3));

    const char *points = at<const char *>(&params, 16);
    ASSERT_EQ(names(points, 272, 0).size(), 8U);
    EXPECT_EQ(at<void *>(points, 256), reinterpret_cast<void *>(tarvo_validate_interface));
    const char *actions = at<const char *>(&params, 24);
    EXPECT_EQ(names(actions, 304, 0), fakes::Events{"clear_counter_action_point"});
    EXPECT_EQ(at<void *>(actions, 272), reinterpret_cast<void *>(clear_counters_action));
    EXPECT_TRUE(all_zero(actions, 256, 272) && all_zero(actions, 280, 304));
}

TEST(Registration, HandsOverTheRecordsInTheLibrarysLayout)
{
    fakes::reset();
    TarvoDaemon daemon{};
    daemon.evbase = reinterpret_cast<event_base *>(&daemon.pid);
    daemon.timer_mgr = &daemon.daemonize;
    fakes::on_module_init = [&](const TollanModuleParams &params) {
        check_parameters(params, daemon);
        check_tables(params);
    };
    EXPECT_EQ(register_with_agent(&daemon), 0);
    EXPECT_NE(daemon.tollan_ctx, nullptr);
    EXPECT_EQ(fakes::taken(), fakes::Events{"tollan_module_init"});
}

TEST(Registration, ProbesThePlatformOnlyAfterSuccess)
{
    const std::string wifi = "/var/platform/has_wifi";
    struct {
        int status;
        int result;
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
        std::filesystem::create_directories("/var/platform");
        if (c.has_wifi) std::ofstream{wifi};
        if (!c.has_wifi) std::filesystem::remove(wifi);
        TarvoDaemon daemon{};
        EXPECT_EQ(register_with_agent(&daemon), c.result) << c.status;
        EXPECT_STREQ(click_routing_prefix, c.prefix) << c.status;
        EXPECT_EQ(_router_standalone_mode, c.standalone) << c.status;
    }
}

TEST(Registration, StopsAtTheProviderThatIsRefused)
{
    // clang-format off
    struct {
        const char *callpoint;
        std::string log;
    } const cases[] = {
        {"interface_brief_cellular",         "error: Failed to register - show interface brief Cellular cb"},
        {"interface_brief_gigabitethernet",  "error: Failed to register - show interface brief GigabitEthernet cb"},
        {"pat_cp",                           "error: tarvo_show_init[#]: Failed to register data cb for show pat"},
        {"dhcp_pool_stats",                  ""},
        {"dhcp_binding",                     "error: tarvo_show_init[#]: Failed to register data cb for show ip dhcp binding"},
        {"interface_detail_cellular",        "error: Failed to register - show interface detail Cellular cb"},
        {"interface_detail_gigabitethernet", "error: Failed to register - show interface detail GigabitEthernet cb"},
        {"rtm-if",                           "error: Failed to register - show zelora oper interfaces cb"},
        {"oper_status",                      "debug: Failed to register - show transceiver oper status cb"},
        {"idprom_info",                      "debug: Failed to register - show transceiver idprom info cb"},
        {"if-mib-interface-stats",           "error: tarvo_snmp_init[#]: Failed to register - IF-MIB interface stats"},
        {"if-mib-interfaces",                "error: tarvo_snmp_init[#]: Failed to register - IF-MIB interfaces"},
    };
    // clang-format on
    tollan_ctx ctx{};
    fakes::Events before;
    for (const auto &c : cases) {
        before.push_back(std::string("provider: ") + c.callpoint);
        for (const bool logging : {true, false}) {
            fakes::reset();
            g_logger_p = logging ? &g_logger : nullptr;
            fakes::outcomes.refused_callpoint = c.callpoint;
            EXPECT_EQ(tarvo_confd_register_data_cbs(&ctx), 1);
            fakes::Events expected = before;
            const bool unguarded = c.log.find("[#]") != std::string::npos;
            if (!c.log.empty() && (logging || unguarded)) expected.push_back(c.log);
            EXPECT_EQ(fakes::taken(), expected);
        }
    }
    fakes::reset();
    EXPECT_EQ(tarvo_confd_register_data_cbs(&ctx), 0);
    EXPECT_EQ(fakes::taken(), before);
}

} // namespace
