#include <algorithm>

#include <gtest/gtest.h>

#include "core/base/command_runner.h"
#include "core/base/debug_info.h"
#include "core/base/globals.h"
#include "core/base/log.h"
#include "fakes/platform.h"
#include "fakes/transcript.h"

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
    const std::string trim = "run: echo \"$(tail -200 " + command_log + ")\" > " + command_log;
    const std::string retained = "debug: log_system_call[#]: Retained latest 200 lines in system_cmds_with_timestamp, "
                                 "since file size is more than 100KB";
    for (const std::string before : {"", "\n"}) {
        write_file(command_log, before + lines);
        fakes::reset();
        fakes::outcomes.run_commands = true;
        log_system_call("date");
        fakes::Events expected = {said + "file size: " + std::to_string(102400 + before.size()) + " "};
        if (!before.empty()) expected.insert(expected.end(), {trim, retained});
        EXPECT_EQ(fakes::taken(), expected);
        const std::string left = fakes::read_file(command_log);
        EXPECT_TRUE(left.ends_with("\ndate\n"));
        EXPECT_EQ(std::ranges::count(left, '\n'), before.empty() ? 10239 : 200);
    }
    std::filesystem::remove(command_log);
    std::filesystem::create_directory(command_log);
    log_system_call("no log to write to");
    EXPECT_EQ(fakes::taken(), fakes::Events{});
    std::filesystem::remove(command_log);
}

TEST(DebugFile, SwitchesTheDiagnostics)
{
    const std::string file = "/flash/.tarvo_debug.info", on = "DEV_LOG:NTP_ENA";
    const std::string key15(15, 'k'), value127 = on + std::string(120, 'v');
    fakes::reset();
    g_logger_p = nullptr; // its messages do not ask
    const auto read = [] {
        ntp_full_debug = 0;
        read_debug_info();
        fakes::record("enabled " + std::to_string(ntp_full_debug));
    };
    std::filesystem::remove(file);
    read();
    // clang-format off
    const std::string texts[] = {
        "", on + "\r\n", on + "\n\n\nDEV_LOG:off", "no colon\nDEV_LOG: NTP_ENA", ":x\n" + key15 + ":\nDEV_LOGS:NTP_ENA",
        key15 + "k:\n" + on, value127, value127 + "v\n" + on, std::string(1006, 'x') + "\n" + on + "BLE", // 1023 bytes count
    };
    // clang-format on
    for (const std::string &text : texts) {
        write_file(file, text);
        read();
    }
    fakes::expect_recorded("core/debug_file.txt");
}
