#include "service/options.h"

#include <charconv>
#include <cstdio>

namespace service {

namespace {

std::string usage(const CommandLine &line)
{
    std::string text = "usage: " + std::string(line.program);
    for (const Option &option : line.options)
        text += std::string(" [") + option.name + " " + option.argument + "]";
    return text + " [--foreground-log]\n";
}

const Option *find_option(const CommandLine &line, std::string_view name)
{
    for (const Option &option : line.options)
        if (name == option.name) return &option;
    return nullptr;
}

bool keep_value(const Option &option, std::string_view value)
{
    if (std::string *const *text = std::get_if<std::string *>(&option.value)) {
        **text = value;
        return true;
    }
    const PortNumber &port = std::get<PortNumber>(option.value);
    const auto [end, code] = std::from_chars(value.data(), value.data() + value.size(), *port.number);
    return code == std::errc() && end == value.data() + value.size() && *port.number >= port.lowest;
}

bool fail(const CommandLine &line, const char *name, const char *fault, int *status)
{
    const std::string program(line.program);
    fprintf(stderr, "%s: %s: %s\n%s", program.c_str(), name, fault, usage(line).c_str());
    *status = 2;
    return false;
}

} // namespace

bool take_options(const CommandLine &line, std::span<char *const> args, int *status)
{
    for (std::size_t i = 0; i < args.size(); i++) {
        const std::string_view name = args[i];
        if (name == "--help") {
            fputs(usage(line).c_str(), stdout);
            *status = 0;
            return false;
        }
        if (name == "--foreground-log") {
            *line.echo_log = true;
            continue;
        }
        const Option *option = find_option(line, name);
        if (option == nullptr) return fail(line, args[i], "no such option", status);
        const bool last = i + 1 == args.size();
        if (last || !keep_value(*option, args[i + 1])) return fail(line, args[i], "a value is expected", status);
        i++;
    }
    return true;
}

} // namespace service
