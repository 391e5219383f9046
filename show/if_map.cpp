#include "show/if_map.h"

#include <cstdio>
#include <cstring>
#include <regex.h>
#include <sys/types.h>

#include "core/base/log.h"

namespace {

struct PortKey {
    const char *key;
    std::uint32_t list_tag;
};

// Ports that the model knows. Not all of them have a device.
constexpr PortKey known_ports[] = {
    {"0/0", gw_system_GigabitEthernet},
    {"0/1", gw_system_GigabitEthernet},
    {"1/0", gw_system_Cellular       },
    {"1/1", gw_system_Cellular       },
};

} // namespace

bool regex_match(const char *text, const char *pattern)
{
    regex_t expression;
    if (regcomp(&expression, pattern, REG_EXTENDED) != 0) return false;
    const bool matches = regexec(&expression, text, 0, nullptr, 0) == 0;
    regfree(&expression);
    return matches;
}

bool is_valid_ifname(const char *name)
{
    return strlen(name) < device_name_size && regex_match(name, "^[a-zA-Z0-9_]+$");
}

bool is_valid_if_port(const char *port_key, std::uint32_t list_tag)
{
    if (port_key == nullptr) return false;
    const auto length = static_cast<ssize_t>(strlen(port_key));
    log_guarded(LOG_DEBUG, "interface port: %s, length: %zd", port_key, length);
    // The pattern is not anchored, so the length has to be right as well.
    if (length != 3 || !regex_match(port_key, "[0-1]/[0-1]+")) return false;
    for (const PortKey &known : known_ports) {
        if (known.list_tag == list_tag && strcmp(known.key, port_key) == 0) return true;
    }
    return false;
}

void if_port_to_device(const char *port_key, char (&device)[device_name_size])
{
    int slot = 0;
    int port = 0;
    device[0] = '\0';
    // NOLINTNEXTLINE(cert-err34-c): a slot alone counts as port 0, and the model bounds the numbers.
    if (sscanf(port_key, "%d/%d", &slot, &port) < 1 || port != 0) return;
    if (slot == 0) snprintf(device, sizeof device, "wired0");
    if (slot == 1) snprintf(device, sizeof device, "cell_1_%d", port);
}

const char *device_display_name(const char *device)
{
    for (const InterfaceMap &row : interface_map) {
        if (strcmp(row.device, device) == 0) return row.display_name;
    }
    return nullptr;
}

bool is_cell_1_0(const char *name)
{
    return strncmp(name, "cell_1_0", 8) == 0;
}
