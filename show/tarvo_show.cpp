// The brief and detail views. The operational table is in rtm_if.cpp.
#include "show/tarvo_show.h"

#include <arpa/inet.h>
#include <cstdio>
#include <cstring>

#include "core/base/globals.h"
#include "core/base/log.h"
#include "core/base/module_handle.h"
#include "core/base/tag_values.h"
#include "monitor/if_stats.h"
#include "show/click_address.h"
#include "show/if_info.h"
#include "show/if_map.h"
#include "show/interface_facts.h"

namespace {

constexpr const char *module_name = "tarvo_show";
constexpr const char *hidden_address = "192.168.1.2"; // of the router's own, not shown
constexpr std::uint32_t detail_view = 0x3aafcb2e;

enum : std::uint32_t {
    TAG_DESCRIPTION = 0x7b6dbd8e,
    TAG_PORT = 0x388cc84a,
    TAG_TYPE_NAME = 0x13e19153,
    TAG_IPV4_ADDRESS = 0x6a6d894d,
    TAG_IPV6_ADDRESS = 0x73a56d6d,
    TAG_IPV6_PREFIX_LENGTH = 0x59ab3e37,
    TAG_IPV4_MASK = 0x75b043e3,
    TAG_ADMIN_STATE = 0x5458df1d,
    TAG_OPER_STATE = 0x6d46edd2,
    TAG_MEDIA = 0x60a71c5d,
    TAG_HARDWARE_ADDRESS = 0x1f873355,
    TAG_SPEED = 0x673241f6,
    TAG_ROLE = 0x7fd90f70,
    TAG_MTU = 0x4a9ebc8c,
};

constexpr TaggedCounter counters[] = {
    {0x43d040d0, &IfStatSample::rx_pkts  },
    {0x692f2d9d, &IfStatSample::rx_octets},
    {0x7f4605d2, &IfStatSample::rx_pps   },
    {0x278e0579, &IfStatSample::rx_bps   },
    {0x46edc54a, &IfStatSample::rx_drops },
    {0x707b7da5, &IfStatSample::rx_errors},
    {0x783fcda5, &IfStatSample::tx_pkts  },
    {0x0640f5dd, &IfStatSample::tx_octets},
    {0x08119b85, &IfStatSample::tx_pps   },
    {0x09d6ae12, &IfStatSample::tx_bps   },
    {0x6d8ce8e1, &IfStatSample::tx_drops },
    {0x2f9b4bf4, &IfStatSample::tx_errors},
};

// One request for an object.
struct InterfaceView {
    const char *key;
    std::uint32_t list_tag;
    bool detail;
    char device[device_name_size];
};

// What the brief view is built from.
struct InterfaceFacts {
    LinkRecord link;
    const char *description;
    char mask[16];
    char ip6[46];
    std::uint8_t prefix_length;
};

int report_reply(int status, const char *what)
{
    if (status == CONFD_OK) return CONFD_OK;
    log_guarded(LOG_ERR, "Failed to send %s - %s (%d) : %s", what, confd_strerror(confd_errno), confd_errno,
                confd_lasterr());
    return status;
}

InterfaceView requested_view(const confd_hkeypath_t &kp)
{
    InterfaceView view{};
    view.list_tag = checked_tag(kp.v[1][0], module_name);
    view.key = checked_text(kp.v[0][0], module_name);
    view.detail = checked_tag(kp.v[2][0], module_name) == detail_view;
    return view;
}

void log_path(const confd_hkeypath_t *kp)
{
    char path[128];
    confd_pp_kpath(path, sizeof path, kp);
    log_guarded(LOG_DEBUG, "path: %s", path);
}

// The states and addresses; the link library's are replaced.
void read_states(const char *device, InterfaceFacts &facts)
{
    LinkInfo &link = facts.link.info;
    snprintf(facts.mask, sizeof facts.mask, "0.0.0.0");
    facts.ip6[0] = '\0';
    facts.prefix_length = 0;
    link.admin_status = static_cast<std::uint8_t>(is_if_admin_up(device));
    link.oper_status = static_cast<std::uint8_t>(is_if_running(device));
    if (link.admin_status != 0) {
        tarvo_read_ip_from_click(device, link.addr, facts.mask, facts.ip6, &facts.prefix_length);
    } else {
        link.addr_family = 0;
        snprintf(link.addr, sizeof link.addr, "0.0.0.0");
    }
}

// A leading part of the hidden address is hidden as well; a text that ends in a line break never is.
bool is_shown(const char *address)
{
    return strncmp(address, hidden_address, strlen(address)) != 0;
}

in_addr address_of(const char *text)
{
    return {inet_addr(text)}; // white space may follow
}

// All zero when the text is no address.
in6_addr ipv6_address_of(const char *text)
{
    in6_addr address{};
    inet_pton(AF_INET6, text, &address);
    return address;
}

void populate_interface_brief(TagArray &array, const InterfaceView &view, const InterfaceFacts &facts)
{
    const LinkInfo &link = facts.link.info;
    const char *list_name = confd_hash2str(view.list_tag);
    const int admin_state = link.admin_status != 0 ? 0 : 1;
    const int oper_state = link.oper_status != 0 ? 0 : 1;
    put(array, TAG_DESCRIPTION, text_value(facts.description));
    put(array, TAG_PORT, text_value(view.key));
    put(array, TAG_TYPE_NAME, text_value(list_name));
    if (is_shown(link.addr)) put(array, TAG_IPV4_ADDRESS, ipv4_value(address_of(link.addr)));
    if (view.detail) {
        put(array, TAG_IPV6_ADDRESS, ipv6_value(ipv6_address_of(facts.ip6)));
        put(array, TAG_IPV6_PREFIX_LENGTH, uint16_value(facts.prefix_length));
    }
    put(array, TAG_IPV4_MASK, ipv4_value(address_of(facts.mask)));
    put(array, TAG_ADMIN_STATE, enum_value(admin_state));
    put(array, TAG_OPER_STATE, enum_value(oper_state));
    log_guarded(LOG_DEBUG, "interface brief: %s %s [%s]\n\t\tIP: %s\n\t\tAdmin state:%d\n\t\tOper state:%d", list_name,
                view.key, view.device, link.addr, admin_state, oper_state);
    const bool sfp = g_gig_media_type.load(std::memory_order_relaxed) == 0;
    put(array, TAG_MEDIA, text_value(sfp ? "SFP" : "RJ45"));
}

int populate_interface_detail_stats(TagArray &array, const char *key, char (&hwaddr)[hwaddr_text_size])
{
    char device[device_name_size];
    if_port_to_device(key, device);
    if (!is_valid_ifname(device)) {
        log_guarded(LOG_ERR, "populate_interface_detail_stats failed");
        return CONFD_ERR;
    }
    if (read_hwaddr_text(device, "populate_interface_detail_stats", hwaddr)) {
        put(array, TAG_HARDWARE_ADDRESS, text_value(hwaddr));
    }
    const bool wan = is_cell_1_0(device);
    if (!wan) put(array, TAG_SPEED, uint32_value(read_lan_speed()));
    put(array, TAG_ROLE, text_value(wan ? "WAN" : "LAN"));
    put_counters(array, counters, read_current_stats(static_cast<int>(statistics_slot(key))));
    // An MTU that cannot be read is 4294967295 here.
    put(array, TAG_MTU, uint64_value(static_cast<std::uint32_t>(get_if_mtu(device))));
    return CONFD_OK;
}

} // namespace

int tarvo_show_interface_get_next(confd_trans_ctx *tctx, confd_hkeypath_t *kp, long next)
{
    if (!module_is_ready(module_handle(tctx))) return reply_not_found(tctx);
    if (next >= 1) {
        confd_data_reply_next_key(tctx, nullptr, 0, -1);
        return CONFD_OK;
    }
    const std::uint32_t list_tag = checked_tag(kp->v[0][0], module_name);
    if (list_tag != gw_system_Cellular && list_tag != gw_system_GigabitEthernet) return CONFD_ERR;
    char key[16];
    snprintf(key, sizeof key, "%d/%d", list_tag == gw_system_Cellular ? 1 : 0, 0);
    log_guarded(LOG_DEBUG, "iface_port: %s", key);
    const confd_value_t value = text_value(key);
    report_reply(confd_data_reply_next_key(tctx, &value, 1, 1), "confd_data_reply_next_key");
    return CONFD_OK;
}

int tarvo_show_interface_get_object(confd_trans_ctx *tctx, confd_hkeypath_t *kp)
{
    tollan_ctx *const handle = module_handle(tctx);
    if (!module_is_ready(handle)) return reply_not_found(tctx);
    log_path(kp);
    InterfaceView view = requested_view(*kp);
    if (!is_valid_if_port(view.key, view.list_tag)) return reply_not_found(tctx);
    if_port_to_device(view.key, view.device);
    if (!is_valid_ifname(view.device)) return CONFD_ERR;
    InterfaceFacts facts;
    Description stored; // this and the address outlive the reply that refers to them
    char hwaddr[hwaddr_text_size];
    get_link_record(view.device, LOG_ERR, facts.link);
    facts.description = view.list_tag == gw_system_Cellular
                            ? cellular_description
                            : gigabitethernet_description(handle, view.key, module_name, stored);
    read_states(view.device, facts);
    TagArray array;
    populate_interface_brief(array, view, facts);
    if (view.detail && populate_interface_detail_stats(array, view.key, hwaddr) != CONFD_OK) return CONFD_ERR;
    log_guarded(LOG_DEBUG, "curr_elem: %d", array.count);
    return report_reply(confd_data_reply_tag_value_array(tctx, array.entries, array.count), "oper data reply");
}
