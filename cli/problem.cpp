#include "cli/problem.h"

#include "cli/json.h"
#include "protocol/value.h"

namespace cli {

namespace {

std::string_view code_name(proto::ErrorCode code)
{
    switch (code) {
    case proto::ErrorCode::malformed:
        return "malformed";
    case proto::ErrorCode::unknown_op:
        return "unknown-operation";
    case proto::ErrorCode::not_exists:
        return "not-exists";
    case proto::ErrorCode::bad_path:
        return "bad-path";
    case proto::ErrorCode::bad_value:
        return "bad-value";
    case proto::ErrorCode::refused:
        return "refused";
    case proto::ErrorCode::no_session:
        return "no-session";
    case proto::ErrorCode::timeout:
        return "timeout";
    case proto::ErrorCode::unavailable:
        return "unavailable";
    case proto::ErrorCode::in_use:
        return "in-use";
    case proto::ErrorCode::failed:
        return "failed";
    case proto::ErrorCode::too_big:
        return "too-big";
    }
    return "failed";
}

} // namespace

Problem usage_problem(std::string text)
{
    return {exit_usage, "usage", "", std::move(text)};
}

Problem failed_problem(std::string_view code, std::string text, std::string path)
{
    return {exit_failed, code, std::move(path), std::move(text)};
}

Problem agent_problem(const proto::Error &error, std::string_view where)
{
    const std::string_view code = code_name(error.code);
    return {exit_failed, code, error.path.empty() ? std::string(where) : error.path,
            error.text.empty() ? std::string(code) : error.text};
}

std::string problem_text(const Problem &problem)
{
    return proto::printable(problem.path) + (problem.path.empty() ? "" : ": ") + proto::printable(problem.text);
}

std::string problem_json(const Problem &problem)
{
    std::vector<std::string> members = {json_text("code", problem.code)};
    if (!problem.path.empty()) members.push_back(json_text("path", problem.path));
    members.push_back(json_text("text", problem.text));
    return json_object({json_member("error", json_object(members))});
}

} // namespace cli
