#include <iomanip>
#include <regex>
#include <sys/timex.h>

#include <gtest/gtest.h>

#include "core/base/globals.h"
#include "fakes/files.h"
#include "fakes/platform.h"
#include "fakes/record.h"
#include "ntp/ntp_checks.h"
#include "ntp/ntp_loop.h"
#include "ntp/ntp_recovery.h"

namespace {

const std::string to_public = std::string("run: ntpdate -u ") + public_time_server;
const char *const server_file = "/tmp/ntp_server_ip", *const control_file = "/tmp/ntpd/start_ntpd";
const char *const out_of_sync = "associd=0 status=c016 leap_alarm, sync_unspec, 1 event, restart,";
const char *const in_sync = "associd=0 status=0615 leap_none, sync_ntp, 1 event, clock_sync,";

// Exit statuses of the commands, the tick at which the kernel is in sync (-1: all), what ntpq prints (null: it fails),
// the server file (null: none).
struct World {
    int curl = 6, public_step = 1, own_step = 1, kernel = 0;
    const char *ntpq = out_of_sync, *servers = "server 10.0.0.1 iburst\n";
} world;
int tick;

struct Ended {};

void restart(const World &now)
{
    g_logger_p = &g_logger;
    fakes::reset();
    ntp_sync_count = get_ctr = 0;
    world = now;
    if (world.ntpq != nullptr) fakes::outcomes.outputs["/usr/sbin/ntpq -crv"] = world.ntpq;
    std::filesystem::remove(server_file);
    if (world.servers != nullptr) fakes::write_file(server_file, world.servers);
    fakes::write_file(control_file, "9z");
}

// Lets a new thread run and returns "TICK event; " for each that matches; "stop" and "start" are in the control file.
std::string run_loop(int ticks, const char *wanted)
{
    std::string result;
    tick = 1;
    fakes::outcomes.on_wait = [&](unsigned milliseconds) {
        std::string control;
        std::ifstream(control_file) >> std::setw(2) >> control; // /dev/full never ends
        if (control == "0z" || control == "1z") fakes::record(control == "0z" ? "stop" : "start");
        if (!control.empty()) fakes::write_file(control_file, "9z");
        for (const std::string &event : fakes::taken()) {
            const std::string line = std::to_string(tick) + " " + event + "; ";
            if (std::regex_search(line, std::regex(wanted))) result += line;
        }
        if (milliseconds == 30000 && tick++ == ticks) throw Ended();
    };
    EXPECT_THROW(tarvo_ntp_loop(nullptr), Ended);
    return result;
}

// clang-format off
TEST(Ntp, ChecksAndRecoversInItsRhythm)
{
    const std::string n = " output: /usr/sbin/ntpq -crv; ", k = " kernel; ", p = " " + to_public + "; ";
    const std::string failed = " info: NTP Unable to read ntpq op; ";
    const struct {
        World world;
        int ticks;
        const char *wanted;
        std::string events;
    } cases[] = {
        {{}, 12, "output", "5" + n + "7" + n + "9" + n + "11" + n},
        {{.ntpq = in_sync}, 11, "output", "5" + n + "8" + n + "11" + n},
        {{.ntpq = nullptr}, 8, "output|Unable", "5" + n + "5" + failed + "8" + n + "8" + failed},
        {{.servers = nullptr}, 12, "output|kernel", ""},
        {{.kernel = -1, .ntpq = in_sync}, 23, "output|kernel",
         "5" + k + "8" + k + "11" + k + "14" + k + "17" + k + "20" + n + "23" + k},
        {{}, 65, "st(op|art);", "13 stop; 13 start; 23 stop; 23 start; 33 stop; 33 start; 43 start; 53 start; "
                                "63 stop; 63 start; "},
        {{.kernel = 47}, 59, "^[45]. st(op|art);", "43 start; 58 stop; 58 start; "},
        {{.curl = 7, .public_step = 0, .own_step = 0}, 20, "ntpdate -u",
         "1" + p + "2" + p + "3" + p + "13 run: ntpdate -u 10.0.0.1; 14" + p},
        {{.curl = 0, .own_step = 0, .servers = "server x\n"}, 1, "ntpdate", "1" + p + "1 run: ntpdate -u x\n; "
                                                                            "1 info: ntpdate x\n success; "},
        {{.curl = 0, .servers = "server x y\n"}, 1, "ntpdate",
         "1" + p + "1 run: ntpdate -u x; 1 info: ntpdate x failed; "},
        {{.curl = 28, .servers = nullptr}, 12, "error|(Err|1. info)", "1 info: Error opening /tmp/ntp_server_ip\n; "
         "10 info:  net not reachable  ; 11 info:  net not reachable  ; 12 info:  net not reachable  ; "
         "12 info: Error opening /tmp/ntp_server_ip\n; 12 info: NTP server  (enabled=0); "},
    };
    for (const auto &c : cases) {
        restart(c.world);
        EXPECT_EQ(run_loop(c.ticks, c.wanted), c.events);
    }
    // The counters outlive the thread's own state: nothing is left to step, and the kernel is not believed.
    restart({0, 0, 0, -1, in_sync});
    run_loop(17, "");
    EXPECT_EQ(run_loop(5, "ntpdate -u|kernel|output"), "5" + n);
}

TEST(Ntp, SaysWhatItDoes)
{
    restart({7, 0, 1});
    EXPECT_EQ(run_loop(1, ""), std::string("1 run: curl ") + public_time_server + " --connect-timeout 10; "
              "1 info:  net reachable  ; 1 " + to_public + "; 1 info:  ntpdate successful  ; "
              "1 info: NTP server 10.0.0.1 (enabled=1); 1 wait 30000 ms; ");
    ntp_full_debug = 1;
    std::filesystem::remove(control_file);
    EXPECT_EQ(run_loop(13, "^13 (error|info: [^ ]|wait 2)"),
              "13 error: NTP: ntpq return no-sync; 13 error: NTP: Not in sync; 13 error: NTP: Not in sync since 5; "
              "13 info: Unable to open file -1; 13 wait 2000 ms; 13 info: ntpdate 10.0.0.1 failed; "
              "13 info: Unable to open file -1; 13 error: NTP Recovery: restarted recovery_attempts 1; ");
    EXPECT_FALSE(std::filesystem::exists(control_file));
    std::filesystem::create_symlink("/dev/full", control_file);
    const std::string failed = "13 info: File /tmp/ntpd/start_ntpd write error; ";
    EXPECT_EQ(run_loop(13, "write"), failed + failed);
    std::filesystem::remove(control_file);
    restart({.kernel = -1, .ntpq = in_sync});
    get_ctr = 4;
    EXPECT_EQ(run_loop(8, "^. error"), "5 error: NTP: get_time in sync get_ctr 5; 5 error: NTP: ctrs reset; "
              "8 error: NTP: sync_ntp found; 8 error: NTP: ntpq in sync; 8 error: NTP: ctrs reset; ");
    ntp_full_debug = 0;
    EXPECT_EQ(run_loop(8, "^. error"), "");
}

TEST(Ntp, ReadsAnswersAndServerFiles)
{
    const std::string noise(26, 'x');
    EXPECT_EQ(ntpq_answer((noise + "sync_ntp").c_str()), -1) << "34 characters";
    EXPECT_EQ(ntpq_answer((noise + "sync_ntp.").c_str()), 1);
    EXPECT_EQ(ntpq_answer((noise + "sync_ptp.").c_str()), 0);
    const std::pair<std::string, std::string> files[] = {
        {"server 10.0.0.1 iburst\nserver 10.0.0.2 iburst\n", "10.0.0.1"},
        {"server a b\npeer   10.0.0.2 x\nserver\n", "10.0.0.2"}, {"server a b\nserver \nserver", "\n"},
        {"server 10.0.0.1\nserver 10.0.0.2", "10.0.0.2"}, {"server 10.0.0.1\nserver 10.0.0.2\n", "10.0.0.2\n"},
        {"server a b\n\nserver  c", "a"}, {"server ", ""}, {"", ""},
        {"server " + std::string(40, 'y') + " z", std::string(31, 'y')},
    };
    for (const auto &[text, expected] : files) {
        NtpServer read{"old"};
        fakes::write_file(server_file, text);
        read_configured_server(read);
        EXPECT_EQ(read.text, expected) << text;
    }
}
// clang-format on

} // namespace

extern "C" int system(const char *command)
{
    const std::string event = std::string("run: ") + command;
    fakes::record(event);
    return (event.starts_with("run: curl") ? world.curl : event == to_public ? world.public_step : world.own_step) << 8;
}

extern "C" int ntp_gettimex(ntptimeval * /*now*/) noexcept
{
    fakes::record("kernel");
    return world.kernel == -1 || world.kernel == tick ? TIME_OK : TIME_ERROR;
}
