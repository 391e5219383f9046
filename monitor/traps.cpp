#include "monitor/traps.h"

#include <cstdio>
#include <iterator>

#include "core/base/globals.h"
#include "core/base/handles.h"
#include "core/base/log.h"
#include "core/base/tag_values.h"
#include "maker.h"
#include "tollan.h"

namespace {

constexpr std::size_t path_size = 128;
constexpr std::size_t line_size = 128;

// Of the management model.
constexpr std::uint32_t notification_ns = 1801775808;
constexpr std::uint32_t dhcp_config_change_tag = 2051227091;
constexpr std::uint32_t kind_tag = 418582328;
constexpr std::int32_t kind = 2; // of every notification

// Null when nothing can be sent.
tollan_ctx *connected_module()
{
    const TarvoDaemon *daemon = g_tarvod_p.load(std::memory_order_relaxed);
    return daemon != nullptr ? daemon->tollan_ctx : nullptr;
}

// At most 127 characters; a longer path names no file.
File open_handler(const char *element, const char *handler)
{
    char path[path_size];
    snprintf(path, sizeof path, "%s/%s", element, handler);
    return File(fopen(path, "re"));
}

// The first word of the file's first line, cut to 15 characters; a blank line leaves the output as it is. False at the
// end of the file.
bool scan_line(const File &file, char *output)
{
    char line[line_size];
    if (fgets(line, sizeof line, file.get()) == nullptr) return false;
    sscanf(line, "%15s\n", output);
    return true;
}

// Begin and end elements carry the notification's namespace themselves, leaves the parent's.
confd_tag_value_t own_element(confd_value_t value)
{
    return {value.val.xmltag, value};
}

} // namespace

int tarvo_trap_read_ip_from_click(const char *element, char *ip, char *mask)
{
    const File address_file = open_handler(element, "ipaddr");
    if (!address_file) {
        log_trace(LOG_ERR, "tarvo_trap_read_ip_from_click", "IP Address fopen failed\n");
        return -1;
    }
    const File mask_file = open_handler(element, "mask");
    if (!mask_file) {
        log_trace(LOG_ERR, "tarvo_trap_read_ip_from_click", " Netmask fopen failed\n");
        return -1;
    }
    return scan_line(address_file, ip) && scan_line(mask_file, mask) ? 0 : -1;
}

void send_ip_change_trap(const char *if_name, const char *old_ip, const char *new_ip, const char *old_mask,
                         const char *new_mask)
{
    tollan_ctx *ctx = connected_module();
    if (ctx == nullptr) return;
    kvr_trap_send(ctx, "kvrInterfaceIpAddrChange", 1, 5, "kvrIfName", if_name, "kvrOldIpAddr", old_ip, "kvrNewIpAddr",
                  new_ip, "kvrOldSubMask", old_mask, "kvrNewSubMask", new_mask);
}

void send_reboot_reason_trap(const char *reason)
{
    tollan_ctx *ctx = connected_module();
    if (ctx == nullptr) return;
    kvr_trap_send(ctx, "kvrRebootReason", 1, 1, "kvrRebootReasonType", reason);
}

void notify_dhcp_config_change()
{
    tollan_ctx *ctx = connected_module();
    if (ctx == nullptr) return;
    const confd_tag_value_t elements[] = {
        own_element(xml_begin(dhcp_config_change_tag, notification_ns)),
        tag_value(kind_tag, enum_value(kind)),
        own_element(xml_end(dhcp_config_change_tag, notification_ns)),
    };
    tollan_event_send_notification(ctx, elements, static_cast<int>(std::size(elements)));
}
