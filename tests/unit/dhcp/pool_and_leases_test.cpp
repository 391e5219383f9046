#include <arpa/inet.h>

#include <gtest/gtest.h>

#include "core/base/globals.h"
#include "core/base/tag_values.h"
#include "dhcp/dhcp_leases.h"
#include "dhcp/dhcp_pool.h"
#include "fakes/platform.h"
#include "fakes/transcript.h"

static int mappings;
static std::function<void()> before_open;

extern "C" {
int __wrap__Z12get_pat_infov()
{
    return mappings;
}
FILE *__real_fopen(const char *path, const char *mode);
FILE *__wrap_fopen(const char *path, const char *mode)
{
    if (before_open) before_open();
    return __real_fopen(path, mode);
}
time_t __wrap_time(time_t *)
{
    return 1'000'000'000;
}
}

namespace {

using namespace fakes;

enum : std::uint32_t { days = 0x2b27021e, hours = 0x60dd82a5, minutes = 0x48daf5d4 };
const confd_value_t in_use = fakes::tag(0x114e0517), unused = fakes::tag(0x4de1a5d6), net = fakes::tag(0x7a82c47a);
const std::string leases = "/tmp/dnsmasq.leases";
constexpr auto next = tarvo_show_dhcp_binding_get_next;
constexpr auto lease = tarvo_show_dhcp_binding_get_object;
constexpr auto statistics = tarvo_show_dhcp_pool_stats_get_elem;

confd_tag_value_t prefix(const char *address, int length, confd_vtype type = C_IPV4PREFIX)
{
    const confd_ipv4_prefix value = {{inet_addr(address)}, static_cast<std::uint8_t>(length)};
    return tag_value(net.val.xmltag.tag, {.type = type, .val = {.ipv4prefix = value}});
}

void deliver(const char *what, std::vector<confd_tag_value_t> pairs)
{
    record(what);
    tarvo_config_dhcp_pool(nullptr, 3, 0, nullptr, static_cast<std::uint16_t>(pairs.size()), pairs.data());
    record("file:\n" + fakes::read_file("/etc/dnsmasq/conf/dynamic.conf"));
}

void validate(confd_tag_value_t pair, int count)
{
    mappings = count;
    record("result " + std::to_string(tarvo_validate_dhcp_subnet_prefix(nullptr, nullptr, &pair.v)));
}

void expect_abort(const std::function<void()> &call, const std::string &expression)
{
    fakes::expect_abort(call, "dhcp_config:[0-9]+: failed assertion `\\(" + expression + "'");
}

TEST(DhcpPool, IsValidatedAndAppliedAsRecorded)
{
    tollan_ctx ctx{};
    TarvoDaemon daemon{};
    daemon.tollan_ctx = &ctx;
    g_tarvod_p = &daemon;
    fakes::write_file("/etc/dnsmasq/conf/dynamic.conf", std::string(500, 'x'));
    deliver("== no prefix yet", {});
    deliver("== a prefix, a lease of one day and a container's end",
            {prefix("10.0.23.0", 24), fakes::pair(days, C_UINT16, 1), fakes::pair(7, C_XMLEND)});
    _router_standalone_mode = 1;
    strcpy(ipsec_tunnel_corp_dns, "172.16.100.200,text");
    deliver("== standalone router, second DNS server: a prefix of another type, hours and minutes",
            {prefix("192.168.4.16", 28, C_IPV4), fakes::pair(hours, C_UINT8, 23), fakes::pair(minutes, C_UINT8, 59)});
    deliver("== host bits", {prefix("10.0.23.37", 27)});
    std::filesystem::remove_all("/etc/dnsmasq/conf");
    deliver("== two addresses and nowhere to write", {prefix("192.168.4.16", 30)});
    record("== the default");
    initialize_dft_dhcp_config();
    record("== validation");
    for (const int length : {23, 24, 30, 31})
        validate(prefix("10.0.0.0", length), length == 30 ? 1 : 0);
    validate(prefix("10.0.0.0", 24, C_IPV4), 1);
    fakes::expect_recorded("dhcp/pool.txt");
    for (const std::uint32_t tag : {days, hours, minutes}) {
        const auto wrong = {fakes::pair(tag, tag == days ? C_UINT8 : C_UINT16, 1)};
        expect_abort([&] { deliver("", wrong); },
                     std::string("&cur_val_p->v\\)->type == C_UINT") + (tag == days ? "16" : "8"));
    }
    g_tarvod_p = nullptr;
}

TEST(DhcpLeases, AreAsManyAsWereCountedAtMost)
{
    const std::string one = "1 a 10.0.0.1 h i\n", bad = "x a 10.0.0.1 h i\n";
    const std::tuple<std::string, std::string, int> cases[] = {
        {one + one, one + one + one, 2},
        {one + one, bad + one,       1},
        {one,       bad,             0},
        {bad,       one,             0}
    };
    for (const auto &[counted, stored, found] : cases) {
        before_open = [opened = 0, &first = counted, &second = stored]() mutable {
            fakes::write_file(leases, opened++ == 0 ? first : second);
        };
        DhcpLease *array = nullptr;
        EXPECT_EQ(read_dhcp_leases_file(&array), found) << counted << "then\n" << stored;
        EXPECT_EQ(array != nullptr, found > 0);
        free(array);
    }
    before_open = nullptr;
}

TEST(DhcpLeases, AreServedAsRecorded)
{
    const std::string range = "/gw-system:ip/dhcp/excluded-address/excluded-address-range[0]/";
    fakes::reset();
    record("== the list, answered from what was read at its start");
    fakes::write_file(leases, fakes::read_file(GW_DATA_DIR "dhcp/dnsmasq.leases"));
    ask(next, {}, -1);
    std::filesystem::remove(leases);
    for (int i = 0; i < g_num_leases; i++) {
        ask(next, {}, i + 1);
        outcomes.reply = i == 1 ? -7 : 0;
        confd_value_t key = ipv4_value("0.0.0.0");
        key.val.ip = g_leases[i].address;
        ask(lease, {{key}});
    }
    ask(next, {}, -2);
    ask(lease, {{ipv4_value("10.0.23.99")}});
    expect_abort([] { ask(lease, {{net}}); }, "&keypath_p->v\\[0\\]\\[0\\]\\)->type == C_IPV4");
    record("== not ready, then without a file");
    for (const int ready : {0, 1}) {
        outcomes.ready = ready;
        ask(next, {}, -1);
        ask(lease, {{ipv4_value("10.0.23.3")}});
        ask(statistics, {{in_use}});
    }
    record("== statistics of five leases and ten excluded addresses");
    fakes::write_file(leases,
                      "1 a 10.0.0.1 h i\n2 a 10.0.0.1 h i\n3 a 10.0.0.1 h i\nduid\n4 a 1.2.3.4 h i\n5 a b c d\n");
    confd_value_t &pool = outcomes.stored["/gw-system:ip/dhcp/pool/network/dhcp-subnet-prefix"];
    pool = prefix("10.0.23.0", 24).v;
    outcomes.instances[range.substr(0, range.size() - 4)] = 1;
    outcomes.stored[range + "low-address"] = ipv4_value("10.0.23.10");
    outcomes.stored[range + "high-address"] = ipv4_value("10.0.23.19");
    for (const auto &leaf : {in_use, unused, net, fakes::tag(7)})
        ask(statistics, {{leaf}});
    record("== exclusions that cannot be read");
    outcomes.stored.erase(range + "high-address");
    ask(statistics, {{unused}});
    pool.type = C_IPV4;
    expect_abort([] { ask(statistics, {{net}}); }, "&val\\)->type == C_IPV4PREFIX");
    expect_abort([&] { ask(statistics, {{pool}}); }, "&\\(keypath_p->v\\[0\\]\\[0\\]\\)\\)->type == C_XMLTAG");
    record("== no pool");
    outcomes.stored.clear();
    for (const auto &leaf : {unused, net})
        ask(statistics, {{leaf}});
    fakes::expect_recorded("dhcp/providers.txt");
}

} // namespace
