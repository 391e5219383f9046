#include <arpa/inet.h>
#include <csignal>

#include <gtest/gtest.h>

#include "dhcp/dhcp_leases.h"
#include "fakes/files.h"
#include "fakes/platform.h"
#include "fakes/record.h"

static std::function<void()> before_open;

extern "C" {
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

using fakes::ipv4_value;

const std::string leases = "/tmp/dnsmasq.leases";
const std::string mac = "02:11:22:33:44:55", first = "1000093784 " + mac + " 10.0.23.3 laptop 01:" + mac + "\n";
const std::string second = "0 02:11:22:33:44:66 10.0.23.4 * *\n";

void next(long position, bool ready = true)
{
    EXPECT_EQ(tarvo_show_dhcp_binding_get_next(fakes::transaction(ready), nullptr, position), CONFD_OK);
}

// Asks "object" or "elem" for each key.
void ask(const std::string &what, const std::vector<confd_value_t> &keys, bool ready = true)
{
    const auto call = what == "object" ? tarvo_show_dhcp_binding_get_object : tarvo_show_dhcp_pool_stats_get_elem;
    for (const confd_value_t &key : keys) {
        confd_hkeypath_t path = fakes::keypath({{key}});
        const int result = call(fakes::transaction(ready), &path);
        if (result != CONFD_OK) fakes::record(what + " " + std::to_string(result));
    }
}

void expect_abort(const char *what, const confd_value_t &key, const std::string &expression)
{
    EXPECT_EXIT((dup2(STDERR_FILENO, STDOUT_FILENO), ask(what, {key})), testing::KilledBySignal(SIGABRT),
                "dhcp_config:[0-9]+: failed assertion `\\(" + expression + "'");
}

TEST(DhcpLeases, AreLinesOfFiveFields)
{
    const std::string id(90, '7'), name(80, 'h'), at = "1 " + mac + " 10.0.23.4 ", read = mac + " 10.0.23.4 ";
    // clang-format off
    const std::pair<std::string, std::string> cases[] = {
        {first, mac + " 10.0.23.3 laptop 01:" + mac + " 1 2 3 4"},
        {"1000000059 " + mac + " 10.0.23.4 * *", read + "* * 0 0 0 59"},
        {"2147483647 " + mac + " 10.0.23.4 * *", read + "* * 13281 1 27 27"},
        {"-5\t " + mac + "\r10.0.23.4  a b more\n", read + "a b 0 0 0 0"},
        {"1000000000 1234567 fd00::12 host 00:01:00", "1234567 0.0.0.0 host 00:01:00 0 0 0 0"},
        {at + name, read + name.substr(17) + " " + name.substr(63) + " 0 0 0 0"},
        {at + "h " + id, read + "h " + id.substr(59) + " 0 0 0 0"},
        {"1 " + mac + "::66 10.0.23.4 h", mac + " 0.0.0.0 10.0.23.4 h 0 0 0 0"},
        {"duid 00:01:00:01:30:00:00:00:02:11\n", ""}, {"lease " + mac + " 10.0.23.4 h id", ""}, {at + "half-writ", ""},
        {std::string("1 a 10.0.23.4 \0h id\n", 19), ""}, {"\n", ""},
    };
    // clang-format on
    for (const auto &[line, expected] : cases) {
        DhcpLease l{};
        char text[300] = "", address[INET_ADDRSTRLEN];
        EXPECT_EQ(is_lease_line(line.c_str()), !expected.empty()) << line;
        if (parse_lease(line.c_str(), time(nullptr), l)) {
            snprintf(text, sizeof text, "%s %s %s %s %u %u %u %u", l.mac, inet_ntop(AF_INET, &l.address, address, 16),
                     l.host_name, l.client_id, l.remaining.days, l.remaining.hours, l.remaining.mins, l.remaining.secs);
        }
        EXPECT_EQ(text, expected) << line;
    }
}

TEST(DhcpLeases, AreAsManyAsWereCountedAtMost)
{
    const std::string longest = "1 a 10.0.0.1 h " + std::string(4080, 'i') + " 7 tail that looks like another\n";
    const std::string mixed = "duid 1\n" + first + longest + std::string("\0\n9 ", 4) + second + "5 02:11 10.0.2";
    // What is counted, what is read when they are stored, and how many that gives.
    const std::tuple<std::string, std::string, int> cases[] = {
        // clang-format off
        {mixed, mixed, 3}, {first + second, mixed, 2}, {first + second, "x\n" + second, 1}, {first, "", 0}, {"", first, 0}};
    // clang-format on
    for (const auto &[counted, stored, found] : cases) {
        before_open = [&, opened = 0]() mutable { fakes::write_file(leases, opened++ == 0 ? counted : stored); };
        DhcpLease *array = nullptr;
        EXPECT_EQ(read_dhcp_leases_file(&array), found) << counted << "then\n" << stored;
        EXPECT_EQ(array != nullptr, found > 0);
        free(array);
    }
    before_open = nullptr;
}

TEST(DhcpLeases, AnswerFromTheLastListingAndTheStatisticsFromTheFile)
{
    const std::string range = "/gw-system:ip/dhcp/excluded-address/excluded-address-range[0]/";
    const confd_value_t in_use = fakes::tag(0x114e0517), unused = fakes::tag(0x4de1a5d6), net = fakes::tag(0x7a82c47a);
    fakes::reset();
    fakes::record("== two leases: the list, then the file is gone");
    fakes::write_file(leases, first + second);
    next(-1);
    std::filesystem::remove(leases);
    for (const long position : {1, 2, -2})
        next(position);
    ask("object", {ipv4_value("10.0.23.3"), ipv4_value("10.0.23.5")});
    expect_abort("object", fakes::tag(1), "&keypath_p->v\\[0\\]\\[0\\]\\)->type == C_IPV4");
    fakes::record("== replies that fail");
    fakes::outcomes.reply = -7;
    next(1);
    ask("object", {ipv4_value("10.0.23.4")});
    fakes::record("== not ready, then without a file");
    fakes::outcomes.reply = 0;
    next(-1, false);
    ask("object", {ipv4_value("10.0.23.4")}, false);
    ask("elem", {in_use}, false);
    next(-1);
    ask("object", {ipv4_value("10.0.23.4")});
    fakes::record("== statistics of five leases and ten excluded addresses");
    fakes::write_file(leases, first + second + first + second + first + "duid\n");
    confd_value_t &pool = fakes::outcomes.stored["/gw-system:ip/dhcp/pool/network/dhcp-subnet-prefix"];
    pool.type = C_IPV4PREFIX;
    pool.val.ipv4prefix = {{inet_addr("10.0.23.0")}, 24};
    fakes::outcomes.instances[range.substr(0, range.size() - 4)] = 1;
    fakes::outcomes.stored[range + "low-address"] = ipv4_value("10.0.23.10");
    fakes::outcomes.stored[range + "high-address"] = ipv4_value("10.0.23.19");
    ask("elem", {in_use, unused, net, fakes::tag(7)});
    fakes::record("== exclusions that cannot be read");
    fakes::outcomes.stored.erase(range + "high-address");
    ask("elem", {unused});
    pool.type = C_IPV4;
    expect_abort("elem", net, "&val\\)->type == C_IPV4PREFIX");
    expect_abort("elem", pool, "&\\(keypath_p->v\\[0\\]\\[0\\]\\)\\)->type == C_XMLTAG");
    fakes::record("== no pool");
    fakes::outcomes.stored.clear();
    ask("elem", {unused, net});
    std::string text;
    for (const std::string &event : fakes::taken())
        text += event + "\n";
    EXPECT_EQ(text, fakes::read_file(GW_DATA_DIR "dhcp_providers.txt"));
}

} // namespace
