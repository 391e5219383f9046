#include "agent/options.h"

#include <charconv>
#include <string_view>

namespace agent {

const char *const usage =
    "usage: gw-agent [--models DIR] [--state DIR] [--factory FILE] [--listen PORT] [--foreground-log]\n";

namespace {

bool parse_port(std::string_view text, std::uint16_t *port)
{
    const auto [end, code] = std::from_chars(text.data(), text.data() + text.size(), *port);
    return code == std::errc() && end == text.data() + text.size();
}

} // namespace

ParseResult parse_options(int argc, char *const *argv, Options *options, std::string *error)
{
    for (int i = 1; i < argc; i++) {
        const std::string_view name = argv[i];
        if (name == "--help") return ParseResult::help;
        if (name == "--foreground-log") {
            options->echo_log = true;
            continue;
        }
        const char *value = i + 1 < argc ? argv[i + 1] : nullptr;
        std::string *text = name == "--models"    ? &options->model_dir
                            : name == "--state"   ? &options->state_dir
                            : name == "--factory" ? &options->factory
                                                  : nullptr;
        const bool known = text != nullptr || name == "--listen";
        *error = std::string(name) + (known ? ": a value is expected" : ": no such option");
        if (!known || value == nullptr) return ParseResult::wrong;
        if (text != nullptr) *text = value;
        if (text == nullptr && !parse_port(value, &options->port)) return ParseResult::wrong;
        i++;
    }
    error->clear();
    return ParseResult::run;
}

} // namespace agent
