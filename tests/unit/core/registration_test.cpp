#include <cstring>

#include <gtest/gtest.h>

#include "core/data_providers.h"
#include "core/tarvo_confd.h"
#include "fakes/platform.h"
#include "fakes/transcript.h"

TEST(Registration, HandsOverItsTablesAndTheLoop)
{
    fakes::reset();
    TarvoDaemon daemon{};
    daemon.evbase = reinterpret_cast<event_base *>(&daemon.pid);
    daemon.timer_mgr = &daemon.daemonize;
    fakes::outcomes.on_init = [&](const TollanModuleParams &params) {
        EXPECT_TRUE(params.user == &daemon && params.evbase == daemon.evbase && params.timer_mgr == daemon.timer_mgr);
        EXPECT_TRUE(params.register_data == tarvo_confd_register_data_cbs && params.byte96 == 1 && params.word104 == 2);
        std::vector<int> deliveries; // priority, flags and database of each row
        for (const tollan_subscription *row = params.subscriptions; row->path[0] != '\0'; row++)
            deliveries.push_back(row->priority << 16 | row->flags << 8 | row->oper);
        EXPECT_EQ(deliveries, (std::vector{0x11600, 0x11000, 0x01600, 0x11600, 0x11600, 0x11600, 0x01600, 0x01610,
                                           0x31600, 0x20600, 0x00600}));
    };
    EXPECT_EQ(register_with_agent(&daemon), 0);
    EXPECT_NE(daemon.tollan_ctx, nullptr);
    EXPECT_EQ(fakes::taken(), fakes::Events{"tollan_module_init"});
}

TEST(Registration, ProbesThePlatformOnlyAfterSuccess)
{
    for (const int status : {0, 1, 2, 3}) {
        fakes::reset();
        fakes::outcomes.module_init = status;
        strcpy(click_routing_prefix, "/click/integrated_router/");
        _router_standalone_mode = 0;
        std::filesystem::remove_all("/var/platform");
        if (status == 0) fakes::write_file("/var/platform/has_wifi", "");
        TarvoDaemon daemon{};
        EXPECT_EQ(register_with_agent(&daemon), status == 1 || status == 2) << status;
        EXPECT_STREQ(click_routing_prefix, status == 3 ? "/click/routing/" : "/click/integrated_router/") << status;
        EXPECT_EQ(_router_standalone_mode, status == 3) << status;
    }
}

TEST(Registration, StopsAtTheProviderThatIsRefused)
{
    tollan_ctx ctx{};
    fakes::reset();
    for (const char *callpoint :
         {"interface_brief_cellular", "interface_brief_gigabitethernet", "pat_cp", "dhcp_pool_stats", "dhcp_binding",
          "interface_detail_cellular", "interface_detail_gigabitethernet", "rtm-if", "oper_status", "idprom_info",
          "if-mib-interface-stats", "if-mib-interfaces", "none"}) {
        fakes::outcomes.refused_callpoint = callpoint;
        for (const bool logging : {true, false}) {
            g_logger_p = logging ? &g_logger : nullptr;
            const int result = tarvo_confd_register_data_cbs(&ctx);
            fakes::record("== " + std::to_string(result) + ", " + callpoint + (logging ? "" : " without logging"));
        }
    }
    fakes::expect_recorded("core/providers.txt");
}
