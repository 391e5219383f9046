// Why a request did not succeed: what was refused, where, and what would be accepted.
#ifndef GW_CLI_PROBLEM_H
#define GW_CLI_PROBLEM_H

#include <string>
#include <string_view>

#include "protocol/hello.h"

namespace cli {

inline constexpr int exit_ok = 0;
inline constexpr int exit_failed = 1; // the request was refused or failed
inline constexpr int exit_usage = 2;

struct Problem {
    int status = exit_failed;
    std::string_view code; // for programs: "bad-path"; a literal
    std::string path;      // may be empty
    std::string text;
};

Problem usage_problem(std::string text);
Problem failed_problem(std::string_view code, std::string text, std::string path = "");
// `where` stands for the path when the agent names none.
Problem agent_problem(const proto::Error &error, std::string_view where);

// "path: text", fit for a terminal and without a line break.
std::string problem_text(const Problem &problem);
std::string problem_json(const Problem &problem);

} // namespace cli

#endif
