// The monitor thread and the PHY below it, from start to end, under faked time and hardware.
#include <algorithm>
#include <cstring>
#include <fcntl.h>
#include <linux/mii.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <set>
#include <unistd.h>

#include <gtest/gtest.h>

#include "core/base/globals.h"
#include "fakes/platform.h"
#include "fakes/transcript.h"
#include "monitor/devmem.h"
#include "monitor/if_stats.h"
#include "monitor/monitor_loop.h"
#include "monitor/phy.h"

using fakes::outcomes;
using fakes::write_file;

static std::set<std::string> running;               // devices
static std::map<unsigned, std::uint16_t> registers; // of the PHY, by MMD << 16 | register
static bool every_second_request_fails;

template <class... Arguments> static void record(const char *format, Arguments... arguments)
{
    char text[128];
    snprintf(text, sizeof text, format, arguments...);
    fakes::record(text);
}

extern "C" {
int __real__Z14devmem_write32jj(std::uint32_t address, std::uint32_t value);
FILE *__real_fopen(const char *path, const char *mode);

void __wrap__Z19run_statistics_stepv()
{
    record("statistics %d", g_psv_collect_counter.load());
}

int __wrap__Z14devmem_write32jj(std::uint32_t address, std::uint32_t value)
{
    record("soc %08x = %08x", address, value);
    return __real__Z14devmem_write32jj(address, value);
}

FILE *__wrap_fopen(const char *path, const char *mode)
{
    return __real_fopen(strcmp(path, "/proc/uptime") == 0 ? "/tmp/uptime" : path, mode);
}

int __wrap_ioctl(int /*fd*/, unsigned long code, ifreq *request)
{
    static unsigned requests = 0;
    auto *data = reinterpret_cast<mii_ioctl_data *>(&request->ifr_ifru);
    if (code == SIOCGIFFLAGS) return request->ifr_flags = running.count(request->ifr_name) != 0 ? IFF_RUNNING : 0, 0;
    if (every_second_request_fails && requests++ % 2 == 0) return errno = EIO, -1;
    std::uint16_t &content = registers[(data->phy_id & 31U) << 16 | data->reg_num];
    if (code == SIOCGMIIREG) return data->val_out = content, 0;
    record("mii %s %04x %04x = %04x", request->ifr_name, data->phy_id, data->reg_num, content = data->val_in);
    return 0;
}
}

namespace {

void set_soc(std::uint32_t address, std::uint32_t value)
{
    const int fd = open("/dev/mem", O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (ftruncate(fd, off_t{1} << 32) != 0 || pwrite(fd, &value, sizeof value, address) < 0) abort();
    close(fd);
}

struct Monitor : testing::Test {
    void SetUp() override
    {
        fakes::reset();
        g_logger_p = &g_logger;
        g_tarvod_p = &daemon;
        daemon.tollan_ctx = &module;
        snmp_enable = snmp_trap_enable = reboot_reason_sent = 0;
        g_gig_media_type = 1;
        g_psv_collect_counter = 0;
        write_file("/tmp/uptime", "100000.42 5\n");
        every_second_request_fails = false;
        running = {};
    }
    void cycle() { EXPECT_TRUE(run_monitor_cycle(state)); }
    TarvoDaemon daemon{};
    tollan_ctx module{};
    MonitorState state;
};

const std::string every_cycle = "^(wait 3000 ms|statistics)";

TEST_F(Monitor, StartsByBoardAndEndsAtAFailure)
{
    const auto before = fakes::open_descriptors();
    running = {"wired0"};
    outcomes.start_session = -1;
    for (const int board : {0, 1, 4}) {
        record("== board %d", board);
        write_file("/etc/board_id", std::to_string(board));
        tarvo_monitor_interface(nullptr);
    }
    fakes::record("== without the agent");
    outcomes.cdb_connect = -1;
    tarvo_monitor_interface(nullptr);
    EXPECT_EQ(fakes::open_descriptors(), before);
    fakes::expect_recorded("monitor/start.txt", every_cycle);
}

TEST_F(Monitor, CountsThreeSecondsACycleAndLeavesNothingOpen)
{
    constexpr int month = 862800; // cycles
    std::string steps;
    std::ptrdiff_t descriptors = 0;
    state.probe_counter = 3 * (month - 20000);
    for (int number = 1; number <= 20000; number++) {
        ASSERT_TRUE(run_monitor_cycle(state));
        const fakes::Events events = fakes::taken();
        ASSERT_EQ(events.size(), (number % 2 == 1 ? 2U : 1U) + (number == 20000 ? 2U : 0U)) << number;
        if (number == 199 || number == 201 || number == 20000) steps += events.front() + " " + events.back() + "; ";
        if (number == 1000) descriptors = fakes::open_descriptors();
    }
    EXPECT_EQ(steps, "wait 3000 ms statistics 597; wait 3000 ms statistics 603; "
                     "run: echo 2592000 > /click/routing/wan0_gw_arp_prober/probe_interval wait 3000 ms; ");
    EXPECT_EQ(fakes::open_descriptors(), descriptors);
}

void put(const char *path, const std::string &text)
{
    write_file(path, text);
    if (text == "none") std::filesystem::remove(path);
}

TEST_F(Monitor, TellsEachChangeOnce)
{
    // clang-format off
    struct {
        const char *what;
        std::set<std::string> devices{}; // running
        int led = 1;                     // there (1), not there (0), failing (-1)
        std::string seconds = "1000.1 5\n", line = "12345678a reason\nmore", ip = "9", mask = "m";
        int snmp = 0, targets = 1;
    } const cycles[] = {
        {.what = "another device",          .devices = {"other"}},
        {.what = "LAN",                     .devices = {"wired0"}},
        {.what = "the LED fails",           .led = -1},
        {.what = "LAN without LED",         .devices = {"wired0"}, .led = 0},
        {.what = "LAN with a LED",          .devices = {"wired0"}},
        {.what = "nothing without LED",     .led = 0},
        {.what = "modem after the boot",    .devices = {"cell_1_0"}, .seconds = "999.99 1\n"},
        {.what = "long reason, no uptime",  .devices = {"cell_1_1"}, .seconds = "none", .line = std::string(70, 'x')},
        {.what = "short reason",            .devices = {"cell_1_0"}, .seconds = "0.5 1\n", .line = "1234567"},
        {.what = "no reason",               .devices = {"cell_1_0"}, .seconds = "0.5 1\n", .line = "none"},
        {.what = "SNMP off",                .devices = {"cell_1_0"}, .targets = 2},
        {.what = "no targets",              .devices = {"cell_1_0"}, .snmp = 1, .targets = 0},
        {.what = "the first that is read",  .devices = {"cell_1_0"}, .ip = "1", .snmp = 1, .targets = 2},
        {.what = "no modem",                .ip = "2", .snmp = 1},
        {.what = "SNMP off again",          .devices = {"cell_1_1"}, .ip = "2"},
        {.what = "an address",              .devices = {"cell_1_1"}, .ip = "2", .snmp = 1},
        {.what = "a mask, two modems",      .devices = {"cell_1_0", "cell_1_1"}, .ip = "2", .mask = "n", .snmp = 1},
        {.what = "nothing in the file",     .devices = {"cell_1_0"}, .ip = "", .snmp = 1}, // still what was read last
        {.what = "no address file",         .devices = {"cell_1_0"}, .ip = "none", .snmp = 1},
        {.what = "no mask file",            .devices = {"cell_1_0"}, .ip = "5", .mask = "none", .snmp = 1},
        {.what = "too long, no first line", .devices = {"cell_1_0"}, .ip = "1234567890123456 x\n", .mask = "\n2\n", .snmp = 1},
    };
    // clang-format on
    for (const auto &c : cycles) {
        running = c.devices;
        reboot_reason_sent = 0;
        snmp_enable = static_cast<std::uint8_t>(c.snmp);
        snmp_trap_enable = static_cast<std::uint8_t>(c.targets);
        outcomes.instances["/led/status"] = c.led;
        outcomes.cdb_cd = outcomes.cdb_set_elem = c.led < 0 ? -1 : 0;
        put("/tmp/uptime", c.seconds);
        put("/var/log/watchdog_last.status", c.line);
        put("/click/routing/wan0_arpq/ipaddr", c.ip);
        put("/click/routing/wan0_arpq/mask", c.mask);
        record("== %s", c.what);
        cycle();
        fakes::record("again");
        cycle();
    }
    fakes::expect_recorded("monitor/changes.txt", every_cycle);
}

TEST_F(Monitor, LetsThePhyFollowTheMedia)
{
    // The links come up after `mac` and `pcs` seconds.
    // clang-format off
    const struct { int media; const char *status; int mac, pcs; } cycles[] = {
        {1, "400\n", 0, 0}, {0, "400\n", 119, 238}, {0, "3ff\n", 0,   0},   {0, "0xc00", 999, 999}, {2, "400\n", 0, 999},
        {1, "400\n", 0, 0}, {0, "\n400", 120, 240}, {1, "400\n", 120, 999},
    };
    // clang-format on
    write_file("/etc/board_id", "1");
    ASSERT_TRUE(start_monitor(state));
    registers = {
        {30 << 16 | 0x8301, 0xabcd},
        {30 << 16 | 0x8304, 0x1234},
        {31 << 16 | 0xf000, 0xffff}
    };
    for (const auto &c : cycles) {
        int seconds = 0;
        const auto let_links_come = [&] {
            set_soc(c.media == 0 ? 0xf2130f0c : 0xf2130e10, seconds >= c.mac ? 0x15679 : 0x15678);
            registers[3 << 16 | 32] = seconds >= c.pcs ? 0x1000 : 0xefff;
        };
        outcomes.on_wait = [&](unsigned) { seconds++, let_links_come(); };
        let_links_come();
        set_soc(0xf2130f84, c.media == 0 ? 0xffffffff : 0xffffe000);
        set_soc(0xf2130f1c, c.media == 0 ? 1 : 0xffffffff);
        g_gig_media_type = c.media;
        write_file("/sys/bus/i2c/devices/i2c-0/0-0022/reg_phy_status", c.status);
        record("== media %d, MAC after %d s, PCS after %d s, status %s", c.media, c.mac, c.pcs, c.status);
        cycle();
    }
    fakes::expect_recorded("monitor/phy.txt", every_cycle);
    outcomes.on_wait = {};
    every_second_request_fails = true;
    phy_configure(state.mtd_dev, true); // ends all the same
    EXPECT_EQ(std::ranges::count(fakes::taken(), "error: ioctl xsmi Read failed Input/output error"), 121);
    stop_monitor(state);
}

TEST_F(Monitor, LeavesNothingMappedNearTheEndOfAPage)
{
    for (const std::uint32_t address : {0xf2130fe0, 0xf2130fe4}) {
        std::uint32_t value = 0;
        set_soc(address, address + 1);
        EXPECT_TRUE(devmem_read32(address, &value) == 1 && value == address + 1);
        EXPECT_EQ(fakes::read_file("/proc/self/maps").find("/dev/mem"), std::string::npos);
    }
    std::filesystem::remove("/dev/mem");
    set_mac_mode(false);
    fakes::expect_recorded("monitor/no_mem.txt");
}

} // namespace
