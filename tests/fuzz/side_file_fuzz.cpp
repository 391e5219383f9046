// A side file of dnsmasq with any old content, in which one entry is replaced or removed: the other lines stay as they
// were and in their order, and the new one is the last. The input is a byte (odd: remove), the key and the value up to
// a line break each, and the old content.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "core/base/command_runner.h"
#include "dhcp/side_file.h"
#include "quiet_log.h"

void CommandRunner(const char * /*command*/) {}
void log_system_call(const char * /*command*/) {}
void run_shell(const char * /*command*/) {}

namespace {

constexpr const char *path_of_file = "/etc/dnsmasq/options";

std::string old_text;
char *new_text;
std::size_t new_size;
bool replaced;

std::string take_line(std::string *text)
{
    const std::size_t end = std::min(text->find('\n'), text->size());
    std::string line = text->substr(0, end);
    text->erase(0, end + 1);
    return line.c_str(); // up to a NUL
}

std::string expected(const std::string &key, const std::string &entry)
{
    std::string text;
    std::string rest = old_text;
    while (!rest.empty()) {
        const std::size_t end = std::min(rest.find('\n'), rest.size());
        if (rest.substr(0, end + 1).compare(0, key.size() + 1, key + ",") != 0 || key.find(',') != std::string::npos)
            text += rest.substr(0, end) + "\n";
        rest.erase(0, end + 1);
    }
    return text + entry;
}

} // namespace

// The engine is linked in as well, and its files are real.
extern "C" {
FILE *__real_fopen(const char *path, const char *mode);
int __real_rename(const char *from, const char *to);

FILE *__wrap_fopen(const char *path, const char *mode)
{
    if (strcmp(mode, "we") == 0) return open_memstream(&new_text, &new_size);
    if (strcmp(mode, "re") != 0) return __real_fopen(path, mode);
    FILE *file = fmemopen(nullptr, old_text.size() + 1, "w+");
    fwrite(old_text.data(), 1, old_text.size(), file);
    rewind(file);
    return file;
}

int __wrap_rename(const char *from, const char *to)
{
    if (strcmp(to, path_of_file) != 0) return __real_rename(from, to);
    replaced = true;
    return 0;
}

int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    if (size == 0) return 0;
    old_text.assign(reinterpret_cast<const char *>(data) + 1, size - 1);
    const bool remove = data[0] % 2 == 1;
    const std::string key = take_line(&old_text);
    const std::string entry = key + "," + take_line(&old_text);
    replaced = false;
    process_dnsmasq_dhcp_file(path_of_file, remove, key.c_str(), entry.c_str());
    const std::string text(new_text, new_size);
    free(new_text);
    if (!replaced || text != expected(key, remove ? "" : entry + "\n")) abort();
    return 0;
}
}
