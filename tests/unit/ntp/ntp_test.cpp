#include <iomanip>
#include <regex>
#include <sys/timex.h>

#include <gtest/gtest.h>

#include "core/base/globals.h"
#include "fakes/platform.h"
#include "fakes/transcript.h"
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
std::string transcript;

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

// Lets a new thread run and records "TICK event" for each that matches; "stop" and "start" are in the control file.
void run_loop(const std::string &what, int ticks, const char *wanted)
{
    transcript += "== " + what + "\n";
    tick = 1;
    fakes::outcomes.on_wait = [&](unsigned milliseconds) {
        std::string control;
        std::ifstream(control_file) >> std::setw(2) >> control; // /dev/full never ends
        if (control == "0z" || control == "1z") fakes::record(control == "0z" ? "stop" : "start");
        if (!control.empty()) fakes::write_file(control_file, "9z");
        for (const std::string &event : fakes::taken())
            if (std::regex_search(event, std::regex(wanted))) transcript += std::to_string(tick) + " " + event + "\n";
        if (milliseconds == 30000 && tick++ == ticks) throw Ended();
    };
    EXPECT_THROW(tarvo_ntp_loop(nullptr), Ended);
}

TEST(Ntp, ChecksAndRecoversInItsRhythm)
{
    // clang-format off
    const struct { const char *what; World world; int ticks; const char *wanted; } cases[] = {
        {"out of sync", {}, 12, "output"},
        {"in sync", {.ntpq = in_sync}, 11, "output"},
        {"no ntpq", {.ntpq = nullptr}, 8, "output|Unable"},
        {"no server", {.servers = nullptr}, 12, "output|kernel"},
        {"the kernel is in sync", {.kernel = -1, .ntpq = in_sync}, 23, "output|kernel"},
        {"recoveries", {}, 65, "st(op|art)$"},
        {"the kernel was in sync once", {.kernel = 47}, 59, "st(op|art)$"},
        {"every step succeeds", {.curl = 7, .public_step = 0, .own_step = 0}, 20, "ntpdate -u"},
        {"a server's line without options", {.curl = 0, .own_step = 0, .servers = "server x\n"}, 1, "ntpdate"},
        {"a server that does not answer", {.curl = 0, .servers = "server x y\n"}, 1, "ntpdate"},
        {"no network", {.curl = 28, .servers = nullptr}, 12, "info"},
    };
    // clang-format on
    for (const auto &c : cases) {
        restart(c.world);
        run_loop(c.what, c.ticks, c.wanted);
    }
    restart({0, 0, 0, -1, in_sync});
    run_loop("all is well", 17, "output|kernel");
    run_loop("another thread: nothing is left to step, and the kernel is not believed", 5, "ntpdate -u|kernel|output");
    fakes::expect_data("ntp/rhythm.txt", std::exchange(transcript, ""));
}

TEST(Ntp, SaysWhatItDoes)
{
    restart({7, 0, 1});
    run_loop("the first tick", 1, "");
    ntp_full_debug = 1;
    std::filesystem::remove(control_file);
    run_loop("a recovery without control file", 13, "error|info: [^ ]|wait 2");
    EXPECT_FALSE(std::filesystem::exists(control_file));
    std::filesystem::create_symlink("/dev/full", control_file);
    run_loop("a full disk", 13, "write");
    std::filesystem::remove(control_file);
    restart({.kernel = -1, .ntpq = in_sync});
    get_ctr = 4;
    run_loop("the fifth belief in the kernel", 8, "error");
    ntp_full_debug = 0;
    run_loop("no diagnostics", 8, "error");
    fakes::expect_data("ntp/messages.txt", std::exchange(transcript, ""));
}

TEST(Ntp, ReadsAnswersAndServerFiles)
{
    const std::string noise(26, 'x');
    EXPECT_EQ(ntpq_answer((noise + "sync_ntp").c_str()), -1) << "34 characters";
    EXPECT_EQ(ntpq_answer((noise + "sync_ntp.").c_str()), 1);
    EXPECT_EQ(ntpq_answer((noise + "sync_ptp.").c_str()), 0);
    // clang-format off
    const std::pair<std::string, std::string> files[] = {
        {"server 10.0.0.1 iburst\nserver 10.0.0.2 iburst\n", "10.0.0.1"}, {"server a b\npeer   10.0.0.2 x\nserver\n", "10.0.0.2"},
        {"server a b\nserver \nserver", "\n"}, {"server 10.0.0.1\nserver 10.0.0.2", "10.0.0.2"}, {"server a b\n\nserver  c", "a"},
        {"server ", ""}, {"server " + std::string(40, 'y') + " z", std::string(31, 'y')},
    };
    // clang-format on
    for (const auto &[text, expected] : files) {
        NtpServer read{"old"};
        fakes::write_file(server_file, text);
        read_configured_server(read);
        EXPECT_EQ(read.text, expected) << text;
    }
}

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
