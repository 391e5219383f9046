#include "show/interface_facts.h"

#include <cstdio>
#include <cstdlib>

#include "core/base/assertion.h"
#include "show/if_info.h"

namespace {

constexpr const char *lan_speed_command = "/bin/cat /sys/class/net/wired0/speed";

const char *text_of(const confd_value_t &value)
{
    return reinterpret_cast<const char *>(value.val.buf.ptr); // the agent puts a NUL behind it
}

} // namespace

std::uint32_t checked_tag(const confd_value_t &element, const char *module, unsigned line)
{
    assert_model(element.type == C_XMLTAG, module, "(tag_p)->type == C_XMLTAG", line);
    return element.val.xmltag.tag;
}

const char *checked_text(const confd_value_t &element, const char *module, unsigned line)
{
    assert_model(element.type == C_BUF, module, "(key_p)->type == C_BUF", line);
    return text_of(element);
}

long statistics_slot(const char *port_key)
{
    int slot = 0;
    int port = 0;
    // NOLINTNEXTLINE(cert-err34-c): what cannot be read counts as 0.
    sscanf(port_key, "%d/%d", &slot, &port);
    return static_cast<long>(slot) + port;
}

void get_link_record(const char *device, int level, LinkRecord &record)
{
    record = {};
    LinkInfo &info = record.info;
    if (zel_link_get(device, &info) != 0) {
        log_guarded(LOG_DEBUG, "intf %s not found from zel_link_get\n", device);
        log_guarded(LOG_DEBUG, "probably cellular modem down, fill link_info with intf down");
        snprintf(info.addr, sizeof info.addr, "0.0.0.0");
        info.addr_family = 0;
        info.oper_status = 0;
    }
    log_guarded(level, "link_info: if_name %s, addr %s, admin_status %d, oper_status %d, link_oper %X", info.if_name,
                info.addr, info.admin_status, info.oper_status, info.link_oper);
}

void put_counters(TagArray &array, std::span<const TaggedCounter> counters, const IfStatSample &current)
{
    for (const TaggedCounter &counter : counters) {
        put(array, counter.tag, uint64_value(current.*counter.field));
    }
}

const char *gigabitethernet_description(tollan_ctx *handle, const char *port_key, const char *module,
                                        Description &description)
{
    char path[128]; // a key that does not fit gives a path without a value
    confd_value_t value{};
    snprintf(path, sizeof path, "/gw-system:interface/GigabitEthernet{\"%s\"}/description", port_key);
    if (tollan_read_val(handle, path, &value) != 0) return "Gigabit Ethernet Interface";
    assert_model(value.type == C_BUF, module, "(&description)->type == C_BUF");
    description.stored = value;
    return text_of(value);
}

bool read_hwaddr_text(const char *device, TracePoint point, char (&text)[hwaddr_text_size])
{
    std::uint8_t address[6];
    if (get_if_hwaddr(device, address) != 1) return false;
    snprintf(text, sizeof text, "%02x:%02x:%02x:%02x:%02x:%02x", address[0], address[1], address[2], address[3],
             address[4], address[5]);
    log_trace(LOG_DEBUG, point, "populate_interface_detail_stats: address %s ", text);
    return true;
}

void read_command_output(const char *command, char (&output)[command_output_size])
{
    output[0] = '\0';
    if (zel_execute_output(command, output, sizeof output) == 0) return;
    log_guarded(LOG_ERR, "Failed to execute cmd: %s", command);
}

std::uint32_t leading_number(const char *text)
{
    return static_cast<std::uint32_t>(strtol(text, nullptr, 10));
}

std::uint32_t read_lan_speed()
{
    char output[command_output_size];
    read_command_output(lan_speed_command, output);
    return leading_number(output);
}
