#include "snmp/options.h"

#include <charconv>
#include <string_view>

namespace snmp {

const char *const usage = "usage: gw-snmp [--listen ADDRESS,...] [--config FILE] [--state DIR] [--agent PORT] "
                          "[--foreground-log]\n";

namespace {

bool parse_port(std::string_view text, std::uint16_t *port)
{
    const auto [end, code] = std::from_chars(text.data(), text.data() + text.size(), *port);
    return code == std::errc() && end == text.data() + text.size() && *port != 0;
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
        std::string *text = name == "--listen"   ? &options->listen
                            : name == "--config" ? &options->config
                            : name == "--state"  ? &options->state_dir
                                                 : nullptr;
        const bool known = text != nullptr || name == "--agent";
        *error = std::string(name) + (known ? ": a value is expected" : ": no such option");
        if (!known || value == nullptr) return ParseResult::wrong;
        if (text != nullptr) *text = value;
        if (text == nullptr && !parse_port(value, &options->agent_port)) return ParseResult::wrong;
        i++;
    }
    error->clear();
    return ParseResult::run;
}

} // namespace snmp
