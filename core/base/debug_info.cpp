#include "core/base/debug_info.h"

#include <algorithm>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

#include "core/base/globals.h"
#include "core/base/handles.h"
#include "core/base/log.h"

namespace {

constexpr const char *debug_path = "/flash/.tarvo_debug.info";
constexpr std::size_t text_limit = 1023;

// False when the text does not fit with its terminator.
template <std::size_t size> bool store(std::string_view text, char (&field)[size])
{
    if (text.size() >= size) return false;
    memcpy(field, text.data(), text.size());
    field[text.size()] = '\0';
    return true;
}

// Empty at the end of the text: lines in between are never empty.
std::string_view next_line(std::string_view &text)
{
    text.remove_prefix(std::min(text.find_first_not_of('\n'), text.size()));
    const std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(line.size());
    return line;
}

void set_ntp_diagnostics(bool on)
{
    ntp_full_debug.store(on ? 1 : 0, std::memory_order_relaxed);
    log_always(LOG_INFO, "%s", on ? "Enabling all the NTP dev logs" : "Disabling all the NTP dev logs");
}

void handle_command(const DebugCommand &command)
{
    if (strcmp(command.key, "DEV_LOG") != 0) {
        log_always(LOG_INFO, "Unknown cmd: %s\n", command.key);
        return;
    }
    log_always(LOG_INFO, "cmd: %s, Data: %s\n", command.key, command.value);
    set_ntp_diagnostics(strncmp(command.value, "NTP_ENA", 7) == 0);
}

} // namespace

bool next_debug_command(std::string_view &text, DebugCommand &command)
{
    for (;;) {
        const std::string_view line = next_line(text);
        if (line.empty()) return false;
        const std::size_t colon = line.find(':');
        if (colon == std::string_view::npos) continue;
        return store(line.substr(0, colon), command.key) && store(line.substr(colon + 1), command.value);
    }
}

void read_debug_info()
{
    const Descriptor file(open(debug_path, O_RDONLY | O_CLOEXEC));
    log_always(LOG_ERR, "read_debug_info called");
    if (file.fd < 0) {
        log_always(LOG_INFO, "No debug info file");
        return;
    }
    char text[text_limit + 1];
    const ssize_t length = read(file.fd, text, text_limit);
    if (length < 1) return;
    text[length] = '\0';
    log_always(LOG_INFO, "Debug_info: Read debug data(%d) %s\n", static_cast<int>(length), text);
    std::string_view rest(text);
    DebugCommand command{};
    while (next_debug_command(rest, command)) {
        handle_command(command);
    }
}
