// The command line of a program that runs in the background: options that take a value, --foreground-log and --help.
#ifndef GW_SERVICE_OPTIONS_H
#define GW_SERVICE_OPTIONS_H

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <variant>

namespace service {

struct PortNumber {
    std::uint16_t *number;
    std::uint16_t lowest;
};

struct Option {
    const char *name;
    const char *argument;                          // as the usage calls it
    std::variant<std::string *, PortNumber> value; // where it goes
};

struct CommandLine {
    std::string_view program;
    std::span<const Option> options;
    bool *echo_log;
};

// True when the program is to run. Else the help or the fault has been printed, and *status is what the program ends
// with.
bool take_options(const CommandLine &line, std::span<char *const> args, int *status);

} // namespace service

#endif
