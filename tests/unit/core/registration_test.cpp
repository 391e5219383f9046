#include <cstring>
#include <filesystem>

#include <gtest/gtest.h>

#include "core/data_providers.h"
#include "core/tarvo_confd.h"
#include "fakes/files.h"
#include "fakes/platform.h"
#include "fakes/record.h"

namespace {

TEST(Registration, HandsOverItsTablesAndTheLoop)
{
    fakes::reset();
    TarvoDaemon daemon{};
    daemon.evbase = reinterpret_cast<event_base *>(&daemon.pid);
    daemon.timer_mgr = &daemon.daemonize;
    fakes::outcomes.on_init = [&](const TollanModuleParams &params) {
        EXPECT_TRUE(params.user == &daemon && params.evbase == daemon.evbase && params.timer_mgr == daemon.timer_mgr);
        EXPECT_TRUE(params.register_data == tarvo_confd_register_data_cbs && params.byte96 == 1 && params.word104 == 2);
        std::string deliveries; // priority, flags and database of each row
        for (const tollan_subscription *row = params.subscriptions; row->path[0] != '\0'; row++) {
            char text[16];
            snprintf(text, sizeof text, "%x %02x %02x; ", row->priority, row->flags, row->oper);
            deliveries += text;
        }
        EXPECT_EQ(deliveries, "1 16 00; 1 10 00; 0 16 00; 1 16 00; 1 16 00; 1 16 00; 0 16 00; 0 16 10; 3 16 00; "
                              "2 06 00; 0 06 00; ");
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
    const std::string show = "error: Failed to register - show ";
    const std::string show_init = "error: tarvo_show_init[#]: Failed to register data cb for show ";
    const std::string snmp_init = "error: tarvo_snmp_init[#]: Failed to register - IF-MIB ";
    const std::string sfp = "debug: Failed to register - show transceiver ";
    const std::pair<std::string, std::string> providers[] = {
        {"interface_brief_cellular next object",                show + "interface brief Cellular cb"        },
        {"interface_brief_gigabitethernet next object",         show + "interface brief GigabitEthernet cb" },
        {"pat_cp elem next",                                    show_init + "pat"                           },
        {"dhcp_pool_stats elem",                                ""                                          },
        {"dhcp_binding next object",                            show_init + "ip dhcp binding"               },
        {"interface_detail_cellular next object",               show + "interface detail Cellular cb"       },
        {"interface_detail_gigabitethernet next object",        show + "interface detail GigabitEthernet cb"},
        {"rtm-if elem next",                                    show + "zelora oper interfaces cb"          },
        {"oper_status elem",                                    sfp + "oper status cb"                      },
        {"idprom_info elem",                                    sfp + "idprom info cb"                      },
        {"if-mib-interface-stats object next-object find-next", snmp_init + "interface stats"               },
        {"if-mib-interfaces elem",                              snmp_init + "interfaces"                    },
    };
    tollan_ctx ctx{};
    fakes::Events before;
    for (const auto &[provider, log] : providers) {
        before.push_back("provider: " + provider);
        for (const bool logging : {true, false}) {
            fakes::reset();
            g_logger_p = logging ? &g_logger : nullptr;
            fakes::outcomes.refused_callpoint = provider.substr(0, provider.find(' '));
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
