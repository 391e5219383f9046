#include "dhcp/side_file.h"

#include <cstdio>
#include <cstring>
#include <memory>
#include <new>

#include "core/base/command_runner.h"
#include "core/base/handles.h"

namespace {

constexpr const char *name = "process_dnsmasq_dhcp_file"; // in the traces

// Copies all lines but those of the key. A last line that somebody left without line break gets one, lest the next
// entry become part of it.
void copy_other_lines(const File &from, const File &to, std::string_view key)
{
    LineBuffer buffer;
    ssize_t length = 0;
    while ((length = getline(&buffer.text, &buffer.size, from.get())) > 0) {
        const std::string_view line(buffer.text, static_cast<std::size_t>(length));
        if (has_key(line, key)) continue;
        fwrite(line.data(), 1, line.size(), to.get());
        if (!line.ends_with('\n')) putc('\n', to.get());
    }
}

// Writes the new text of the file at `path` to `temporary`.
bool write_temporary(const char *temporary, const char *path, std::string_view key, const char *new_line)
{
    File to(fopen(temporary, "we"));
    if (!to) {
        log_trace(LOG_ERR, name, "unable to open %s", temporary);
        return false;
    }
    const File from(fopen(path, "re")); // none: empty
    if (from) copy_other_lines(from, to, key);
    if (new_line != nullptr) fprintf(to.get(), "%s\n", new_line);
    if (close_written(to)) return true;
    log_trace(LOG_ERR, name, "unable to write %s", temporary);
    unlink(temporary);
    return false;
}

} // namespace

bool has_key(std::string_view line, std::string_view key)
{
    const std::size_t comma = line.find(',');
    return comma != std::string_view::npos && line.substr(0, comma) == key;
}

void process_dnsmasq_dhcp_file(const char *path, bool delete_conf, const char *key, const char *line)
{
    log_trace(LOG_DEBUG, name, "fpath: %s, delete_conf: %d, key: %s, conf: %s", path, static_cast<int>(delete_conf),
              key, line == nullptr ? "(null)" : line);
    const std::size_t size = strlen(path) + 5;
    const std::unique_ptr<char[]> temporary(new (std::nothrow) char[size]);
    if (!temporary) return;
    snprintf(temporary.get(), size, "%s.tmp", path);
    if (!write_temporary(temporary.get(), path, key, delete_conf ? nullptr : line)) return;
    log_trace(LOG_DEBUG, name, "Renaming %s to %s", temporary.get(), path);
    if (rename(temporary.get(), path) == 0) {
        reload_dnsmasq(LOG_DEBUG, name);
    } else {
        log_trace(LOG_ERR, name, "unable to rename %s", temporary.get());
    }
}

void reload_dnsmasq(int level, TracePoint point)
{
    constexpr const char *command = "killall -SIGHUP dnsmasq";
    log_trace(level, point, "executing %s", command);
    CommandRunner(command);
}
