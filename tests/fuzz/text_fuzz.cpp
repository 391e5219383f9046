// Small texts that files bring: the debug control file, the trailer of a stored document.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "agent/persist.h"
#include "core/base/debug_info.h"

namespace {

void debug_file(std::string_view text)
{
    DebugCommand command{};
    while (next_debug_command(text, command)) {
        if (std::string_view(command.key).size() > 15 || std::string_view(command.value).size() > 127) abort();
    }
}

void trailer(const std::string &file)
{
    agent::Document document;
    std::string why;
    if (!agent::split_trailer(file, &document, &why) && why.empty()) abort();
    agent::Document own{
        {7, 1, file},
        file
    };
    if (!agent::split_trailer(agent::with_trailer(own), &document, &why) || document.text != file) abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::string text(reinterpret_cast<const char *>(data), size);
    debug_file(text);
    trailer(text);
    return 0;
}
