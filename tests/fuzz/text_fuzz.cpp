// Small texts that people and files bring: command lines, the debug control file, the trailer of a stored document.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "agent/persist.h"
#include "cli/words.h"
#include "core/base/debug_info.h"

namespace {

void command_line(const std::string &line)
{
    std::vector<cli::Word> words;
    std::string why;
    cli::split_typed(line);
    if (!cli::split_line(line, &words, &why) || words.empty()) return;
    std::string again;
    for (const cli::Word &word : words)
        again += cli::quote_word(word.text) + " ";
    std::vector<cli::Word> back;
    if (!cli::split_line(again, &back, &why) || cli::texts_of(back) != cli::texts_of(words)) abort();
}

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
    command_line(text);
    debug_file(text);
    trailer(text);
    return 0;
}
