#include <gtest/gtest.h>

#include "config/ip_passthrough.h"
#include "core/base/globals.h"
#include "fakes/platform.h"
#include "fakes/transcript.h"

using namespace fakes;

static void change(const char *when, unsigned enabled, std::uint32_t tag = 0x63481783, confd_vtype type = C_BOOL)
{
    confd_tag_value_t leaf = fakes::pair(tag, type, enabled);
    fakes::record(std::string("== ") + when);
    EXPECT_EQ(tarvo_config_ip_passthrough(nullptr, 3, 2, nullptr, 1, &leaf), 0);
    fakes::record("enabled " + std::to_string(passthrough_enabled));
}

TEST(Passthrough, IsSwitchedAsRecorded)
{
    const std::string lan = "/gw-system:interface/GigabitEthernet{0/0}/ip/address/v4/";
    const std::string wan = "/cellular{1}/details/cellular-";
    g_logger_p = &g_logger;
    fakes::reset();
    outcomes.stored = {
        {lan + "ip",              ipv4_value("10.0.0.1")       },
        {lan + "mask",            ipv4_value("255.255.0.0")    },
        {wan + "dns-ipv4",        ipv4_value("8.8.8.8")        },
        {wan + "ipv4-address",    ipv4_value("100.64.1.2")     },
        {wan + "subnet-mask",     ipv4_value("255.255.255.252")},
        {wan + "default-gateway", ipv4_value("100.64.1.1")     }
    };
    change("on", 1);
    change("another leaf", 0, 0x63481784);
    change("another type", 0, 0x63481783, C_INT32);
    change("off", 0);
    const int standard_input = dup(0);
    close(0);
    change("on, and the next session's descriptor is 0", 1);
    dup2(standard_input, 0);
    outcomes.stored[wan + "ipv4-address"] = ipv4_value("0.0.0.0");
    change("no address yet", 1);
    outcomes.stored.erase(wan + "ipv4-address");
    outcomes.stored.erase(lan + "mask");
    change("unknown address, half a LAN", 1);
    passthrough_enabled = 0;
    const auto before = fakes::open_descriptors();
    outcomes.cdb_connect = -1;
    change("without the agent", 1);
    outcomes.cdb_connect = 0;
    outcomes.start_session = -1;
    change("without sessions", 1);
    EXPECT_EQ(fakes::open_descriptors(), before);
    fakes::expect_recorded("config/passthrough.txt");
}

TEST(Passthrough, ServesTheLanAgainOnlyWhileOffAndWithFourRoutes)
{
    fakes::reset();
    for (const char *table : {"1\n2\n3\n", "1\n2\n3\n4\n", "\n\n\nunended", "1\n2\n3\n4\n5\n", ""}) {
        fakes::write_file("/click/routing/route_table/table", table);
        for (const bool enabled : {false, true}) {
            fakes::record("== " + std::string(table));
            passthrough_enabled = enabled ? 1 : 0;
            EXPECT_EQ(tarvo_oper_cellular_notification_cb(nullptr, 3, 0, nullptr, 0, nullptr), 0);
        }
    }
    fakes::expect_recorded("config/routes.txt");
}
