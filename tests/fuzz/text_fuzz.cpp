// Small texts that files bring: the debug control file, the trailer of a stored document.
#include "agent/persist.h"
#include "core/base/debug_info.h"
#include "target.h"

namespace {

void debug_file(std::string_view text)
{
    DebugCommand command{};
    while (next_debug_command(text, command))
        require(std::string_view(command.key).size() <= 15 && std::string_view(command.value).size() <= 127);
}

void trailer(const std::string &file)
{
    agent::Document document;
    std::string why;
    require(agent::split_trailer(file, &document, &why) || !why.empty());
    const agent::Document own{
        {7, 1, file},
        file
    };
    require(agent::split_trailer(agent::with_trailer(own), &document, &why) && document.text == file);
}

} // namespace

void check(std::string_view input)
{
    debug_file(input);
    trailer(std::string(input));
}
