// What a test did and what came of it, as a file of tests/data has it.
#ifndef GW_FAKES_TRANSCRIPT_H
#define GW_FAKES_TRANSCRIPT_H

#include <algorithm>
#include <csignal>
#include <functional>
#include <regex>
#include <unistd.h>

#include <gtest/gtest.h>

#include "fakes/files.h"
#include "fakes/record.h"

namespace fakes {

inline void expect_data(const std::string &file, const std::string &text)
{
    EXPECT_EQ(text, read_file(GW_DATA_DIR + file)) << file;
}

// What was recorded since the last call, one event a line, but for those that `without` matches. Equal neighbours are
// one with their count. An entry of the command log is "logged", whatever its size.
inline void expect_recorded(const std::string &file, const std::string &without = "$.")
{
    std::string text;
    Events events = taken();
    std::erase_if(events, [&](const auto &event) { return std::regex_search(event, std::regex(without)); });
    for (auto next = events.begin(), other = next; next != events.end(); next = other) {
        other = std::find_if(next, events.end(), [&](const auto &event) { return event != *next; });
        text += next->starts_with("debug: log_system_call") ? "logged" : *next;
        text += (other - next > 1 ? " x" + std::to_string(other - next) : "") + "\n";
    }
    expect_data(file, text);
}

// The call ends the process with these last words, which a pipe as standard output must not swallow.
inline void expect_abort(const std::function<void()> &call, const std::string &last_words)
{
    EXPECT_EXIT((dup2(STDERR_FILENO, STDOUT_FILENO), call()), testing::KilledBySignal(SIGABRT), last_words);
}

} // namespace fakes

#endif
