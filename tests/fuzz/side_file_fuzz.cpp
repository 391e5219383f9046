// A side file of dnsmasq with any old content, in which one entry is replaced or removed: the other lines stay as they
// were and in their order, and the new one is the last. The input is a byte (odd: remove), the key and the value up to
// a line break each, and the old content.
#include <cstring>

#include "dhcp/side_file.h"
#include "quiet.h"
#include "target.h"

namespace {

constexpr const char *path_of_file = "/etc/dnsmasq/options";

std::string old_text;
char *new_text;
std::size_t new_size;
bool replaced;

std::string others(const std::string &key)
{
    std::string text;
    std::string_view rest = old_text;
    while (!rest.empty()) {
        const std::string line = take_until(&rest, '\n') + "\n";
        if (!line.starts_with(key + ",") || key.find(',') != std::string::npos) text += line;
    }
    return text;
}

} // namespace

// The engine is linked in as well, and its files are real.
extern "C" {
FILE *__real_fopen(const char *path, const char *mode);
int __real_rename(const char *from, const char *to);

FILE *__wrap_fopen(const char *path, const char *mode)
{
    if (strcmp(mode, "we") == 0) return open_memstream(&new_text, &new_size);
    return strcmp(mode, "re") == 0 ? file_of(old_text) : __real_fopen(path, mode);
}

int __wrap_rename(const char *from, const char *to)
{
    if (strcmp(to, path_of_file) != 0) return __real_rename(from, to);
    replaced = true;
    return 0;
}
}

void check(std::string_view input)
{
    const bool remove = take_byte(&input) % 2 == 1;
    const std::string key = take_until(&input, '\n').c_str(); // up to a NUL
    const std::string entry = key + "," + take_until(&input, '\n').c_str();
    old_text = input;
    replaced = false;
    process_dnsmasq_dhcp_file(path_of_file, remove, key.c_str(), entry.c_str());
    const std::string text(new_text, new_size);
    free(new_text);
    require(replaced && text == others(key) + (remove ? "" : entry + "\n"));
}
