#include <algorithm>
#include <fcntl.h>
#include <filesystem>
#include <unistd.h>

#include <gtest/gtest.h>

#include "core/base/cdb_sessions.h"
#include "core/base/command_runner.h"
#include "core/base/debug_info.h"
#include "core/base/globals.h"
#include "core/base/handles.h"
#include "core/base/log.h"
#include "fakes/files.h"
#include "fakes/platform.h"
#include "fakes/record.h"

namespace {

using fakes::open_descriptors;
using fakes::write_file;

TEST(Log, GuardsPrefixesAndEchoes)
{
    fakes::reset();
    g_logger_p = nullptr;
    log_guarded(LOG_ERR, "guarded %d", 1);
    log_always(LOG_INFO, "always %d", 2);
    g_logger_p = &g_logger;
    log_guarded(LOG_ERR, "guarded %d", 3);
    testing::internal::CaptureStdout();
    log_trace(LOG_ERR, "function", "trace %d", 4);
    log_trace(LOG_DEBUG, {"function", 77}, "trace %s", std::string(3000, 'x').c_str());
    const std::string cut = "trace " + std::string(2041, 'x');
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "\nfunction[77]: " + cut);
    EXPECT_EQ(fakes::taken(), (fakes::Events{"info: always 2", "error: guarded 3", "error: function[#]: trace 4",
                                             "debug: function[#]: " + cut}));
}

const std::string command_log = "/tmp/system_cmds_with_timestamp";
const std::string said = "debug: log_system_call[#]: system_cmds_with_timestamp ";

TEST(CommandRunner, LogsTheCommandAfterItRan)
{
    fakes::reset();
    std::filesystem::remove(command_log);
    fakes::outcomes.run_commands = true;
    const std::string command = "ls " + command_log + " 2> /tmp/seen; false";
    CommandRunner(command.c_str());
    EXPECT_GT(std::filesystem::file_size("/tmp/seen"), 0U) << "the entry was there before the command ran";
    EXPECT_EQ(fakes::taken(), (fakes::Events{"run: " + command, said + "file size: 80 "}));
    const std::string entry = fakes::read_file(command_log);
    tm parsed{};
    EXPECT_EQ(strptime(entry.c_str(), "%a %b %d %H:%M:%S %Y", &parsed), &entry[24]);
    EXPECT_EQ(entry.substr(24), "\n" + command + "\n");
}

TEST(CommandRunner, TrimsTheLogOnlyAboveTheLimit)
{
    std::string lines;
    while (lines.size() < 102370) // "date" and its time stamp make the last 30 bytes
        lines += "line " + std::to_string(1000 + lines.size() / 10 % 9000) + "\n";
    for (const std::string before : {"", "\n"}) {
        write_file(command_log, before + lines);
        fakes::reset();
        fakes::outcomes.run_commands = true;
        log_system_call("date");
        const fakes::Events events = fakes::taken();
        EXPECT_EQ(events[0], said + "file size: " + std::to_string(102400 + before.size()) + " ");
        EXPECT_EQ(events.size(), before.empty() ? 1 : 3);
        const std::string left = fakes::read_file(command_log);
        EXPECT_TRUE(left.ends_with("\ndate\n"));
        EXPECT_EQ(std::ranges::count(left, '\n'), before.empty() ? 10239 : 200);
        if (before.empty()) continue;
        EXPECT_EQ(events[1], "run: echo \"$(tail -200 " + command_log + ")\" > " + command_log);
        EXPECT_EQ(events[2],
                  "debug: log_system_call[#]: Retained latest 200 lines in system_cmds_with_timestamp, since "
                  "file size is more than 100KB");
    }
    std::filesystem::remove(command_log);
    std::filesystem::create_directory(command_log);
    log_system_call("no log to write to");
    EXPECT_EQ(fakes::taken(), fakes::Events{});
    std::filesystem::remove(command_log);
}

const std::string debug_file = "/flash/.tarvo_debug.info";
const std::string called = "error: read_debug_info called";

TEST(DebugFile, SwitchesTheDiagnostics)
{
    const std::string on = "info: Enabling all the NTP dev logs";
    const std::string off = "info: Disabling all the NTP dev logs";
    const std::string key15(15, 'k');
    const std::string value127 = "NTP_ENA" + std::string(120, 'v');
    const auto command = [](const std::string &data) { return "info: cmd: DEV_LOG, Data: " + data + "\n"; };
    const auto unknown = [](const std::string &key) { return "info: Unknown cmd: " + key + "\n"; };
    // clang-format off
    struct {
        std::string text;
        int enabled;
        fakes::Events more; // after the text was logged
    } const cases[] = {
        {"DEV_LOG:NTP_ENA\r\n",                        1, {command("NTP_ENA\r"), on}},
        {"DEV_LOG:NTP_ENA\n\n\nDEV_LOG:off",           0, {command("NTP_ENA"), on, command("off"), off}},
        {"no colon\nDEV_LOG: NTP_ENA",                 0, {command(" NTP_ENA"), off}},
        {":x\n" + key15 + ":\nDEV_LOGS:NTP_ENA",       0, {unknown(""), unknown(key15), unknown("DEV_LOGS")}},
        {key15 + "k:\nDEV_LOG:NTP_ENA",                0, {}},
        {"DEV_LOG:" + value127,                        1, {command(value127), on}},
        {"DEV_LOG:" + value127 + "v\nDEV_LOG:NTP_ENA", 0, {}},
    };
    // clang-format on
    for (const auto &c : cases) {
        fakes::reset();
        g_logger_p = nullptr; // its messages do not ask
        ntp_full_debug = 0;
        write_file(debug_file, c.text);
        read_debug_info();
        const std::string length = std::to_string(c.text.size());
        fakes::Events expected = {called, "info: Debug_info: Read debug data(" + length + ") " + c.text + "\n"};
        expected.insert(expected.end(), c.more.begin(), c.more.end());
        EXPECT_EQ(fakes::taken(), expected);
        EXPECT_EQ(ntp_full_debug, c.enabled) << c.text;
    }
}

TEST(DebugFile, MayBeMissingEmptyOrTooLong)
{
    fakes::reset();
    std::filesystem::remove(debug_file);
    read_debug_info();
    EXPECT_EQ(fakes::taken(), (fakes::Events{called, "info: No debug info file"}));
    write_file(debug_file, "");
    read_debug_info();
    EXPECT_EQ(fakes::taken(), fakes::Events{called});
    // Of the second command, only what lies within the first 1023 bytes counts.
    write_file(debug_file, "x\n" + std::string(1005, '\n') + "DEV_LOG:NTP_ENABLE");
    read_debug_info();
    EXPECT_EQ(fakes::taken()[2], "info: cmd: DEV_LOG, Data: NTP_ENAB\n");
}

TEST(CdbSession, ConnectsAndStartsOrReleasesEverything)
{
    const std::tuple<std::string, int (*)(), const char *> databases[] = {
        {"setup_cdb_session",      setup_cdb_session,      "cdb_start_session2 1 5"},
        {"setup_oper_cdb_session", setup_oper_cdb_session, "cdb_start_session 3"   },
    };
    const std::string connect = "cdb_connect 2 2130706433:4565 16";
    for (const auto &[name, setup, start] : databases) {
        const std::string prefix = "error: " + name + "[#]: ";
        const auto before = open_descriptors();
        fakes::reset();
        close(STDIN_FILENO);
        {
            const CdbSession session(setup());
            EXPECT_EQ(session.sock, 0) << "the lowest descriptor is as good as any";
            EXPECT_TRUE(session.open());
            EXPECT_EQ(fcntl(session.sock, F_GETFD), FD_CLOEXEC);
        }
        EXPECT_EQ(fakes::taken(), (fakes::Events{connect, start, "cdb_end_session", "cdb_close"}));
        open("/dev/null", O_RDONLY);
        fakes::outcomes.cdb_connect = -1;
        EXPECT_EQ(setup(), -1);
        EXPECT_EQ(fakes::taken(),
                  (fakes::Events{connect, prefix + "Cannot connect to CDB (-1)strerror (1) : lasterr"}));
        fakes::outcomes = {.start_session = -1};
        EXPECT_EQ(setup(), -1);
        EXPECT_EQ(fakes::taken(),
                  (fakes::Events{connect, start, prefix + "Failed to start cdb session strerror (1) : lasterr",
                                 "cdb_close", prefix + "confd status -1\n"}));
        EXPECT_EQ(open_descriptors(), before);
    }
}

} // namespace
