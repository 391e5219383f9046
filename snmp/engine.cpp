#include "snmp/engine.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <memory>

#include "service/log.h"
#include "snmp/netsnmp.h"

namespace snmp {

namespace {

constexpr std::size_t max_file = 256;
constexpr std::string_view id_token = "engine-id ";
constexpr std::string_view boots_token = "\nengine-boots ";
constexpr std::size_t min_id = 2 * 5; // digits; RFC 3411: 5 to 32 octets
constexpr std::size_t max_id = 2 * 32;

struct FileClose {
    void operator()(FILE *file) const { fclose(file); }
};
using File = std::unique_ptr<FILE, FileClose>;

bool is_id(std::string_view id)
{
    return id.size() >= min_id && id.size() <= max_id && id.size() % 2 == 0 &&
           id.find_first_not_of("0123456789abcdef") == std::string_view::npos;
}

std::string path_in(const std::string &dir)
{
    return dir + "/engine";
}

Engine engine_of_library()
{
    Engine engine;
    u_char id[max_id / 2];
    const size_t length = snmpv3_get_engineID(id, sizeof id);
    for (std::size_t i = 0; i < length; i++) {
        char digits[3];
        snprintf(digits, sizeof digits, "%02x", id[i]);
        engine.id += digits;
    }
    engine.boots = snmpv3_local_snmpEngineBoots();
    return engine;
}

bool write_whole(const std::string &path, const std::string &text)
{
    const File file(fopen(path.c_str(), "we"));
    return file && fputs(text.c_str(), file.get()) >= 0 && fflush(file.get()) == 0 && fsync(fileno(file.get())) == 0;
}

} // namespace

bool parse_engine(std::string_view text, Engine *engine)
{
    const std::size_t second = text.find(boots_token);
    if (!text.starts_with(id_token) || second == std::string_view::npos || text.back() != '\n') return false;
    const std::string_view id = text.substr(id_token.size(), second - id_token.size());
    const char *number = text.data() + second + boots_token.size();
    const char *const line_end = text.data() + text.size() - 1;
    const auto [end, code] = std::from_chars(number, line_end, engine->boots);
    engine->id = id;
    return is_id(id) && code == std::errc() && end == line_end && engine->boots < INT32_MAX;
}

std::string render_engine(const Engine &engine)
{
    return std::string(id_token) + engine.id + std::string(boots_token) + std::to_string(engine.boots) + "\n";
}

void load_engine(const std::string &dir)
{
    const File file(fopen(path_in(dir).c_str(), "re"));
    char bytes[max_file];
    const std::size_t got = file ? fread(bytes, 1, sizeof bytes, file.get()) : 0;
    Engine engine;
    if (!parse_engine({bytes, got}, &engine)) {
        if (file)
            service::log(LOG_ERR, "%s is damaged: managers that use SNMPv3 meet a new engine", path_in(dir).c_str());
        return;
    }
    // The library counts this start itself, and starts again from 1 when the identifier is not the old one.
    for (const std::string &line : {"oldEngineID 0x" + engine.id, "exactEngineID 0x" + engine.id,
                                    "engineBoots " + std::to_string(engine.boots)}) {
        std::string writable = line;
        netsnmp_config_remember(writable.data());
    }
}

void store_engine(const std::string &dir)
{
    const std::string path = path_in(dir);
    const std::string next = path + ".new";
    mkdir(dir.c_str(), 0700);
    if (!write_whole(next, render_engine(engine_of_library())) || rename(next.c_str(), path.c_str()) != 0) {
        service::log(LOG_ERR, "cannot write %s: %s; managers that use SNMPv3 will refuse the next start", path.c_str(),
                     strerror(errno));
    }
}

} // namespace snmp
