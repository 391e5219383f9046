#include "show/tarvo_snmp.h"

#include <cstdio>

#include "core/base/assertion.h"
#include "core/base/log.h"
#include "core/base/module_handle.h"
#include "core/base/tag_values.h"
#include "monitor/if_stats.h"
#include "show/click_address.h"
#include "show/if_info.h"
#include "show/if_map.h"
#include "show/interface_facts.h"

namespace {

constexpr const char *module_name = "tarvo_snmp";
constexpr int rows = 2; // 1 the LAN port, 2 the WAN interface
constexpr long no_next = -1;
enum { STATUS_UP = 1, STATUS_DOWN = 2 };              // RFC 2863
enum { TYPE_OTHER = 1, TYPE_GIGABIT_ETHERNET = 117 }; // IANAifType
constexpr std::uint32_t tag_if_number = 0x77b93217;

enum : std::uint32_t {
    TAG_INDEX = 0x71d6142a,
    TAG_NAME = 0x61857538,
    TAG_DESCRIPTION = 0x285993ad,
    TAG_ADMIN_STATUS = 0x2126ef0a,
    TAG_OPER_STATUS = 0x28382b5e,
    TAG_MTU = 0x1cb4aedf,
    TAG_PHYS_ADDRESS = 0x797799f3,
    TAG_SPEED = 0x071b082d,
    TAG_HIGH_SPEED = 0x0f96951f,
    TAG_TYPE = 0x4b98b65e,
};

// Multicast and broadcast packets are not counted apart: always 0.
constexpr std::uint32_t uncounted32[] = {0x7cd2079c, 0x1e5ea8bc, 0x2eb1f9e2, 0x28367dd6};
constexpr std::uint32_t uncounted64[] = {0x7f1b5515, 0x7169a7d9, 0x025c7cd3, 0x64d17eff};

// Cut to their low 32 bits: they wrap as a Counter32 does.
constexpr TaggedCounter counters32[] = {
    {0x492ffcdc, &IfStatSample::rx_pkts  },
    {0x763c0f35, &IfStatSample::rx_octets},
    {0x742b8a6b, &IfStatSample::rx_errors},
    {0x18999a43, &IfStatSample::tx_pkts  },
    {0x5286fbe0, &IfStatSample::tx_octets},
    {0x5f7fc5b6, &IfStatSample::tx_errors},
    {0x15e3a74a, &IfStatSample::rx_drops },
    {0x20406274, &IfStatSample::tx_drops },
};

constexpr TaggedCounter counters64[] = {
    {0x3ba680f0, &IfStatSample::rx_pkts  },
    {0x719cc862, &IfStatSample::rx_octets},
    {0x21809693, &IfStatSample::tx_pkts  },
    {0x61e6c20b, &IfStatSample::tx_octets},
};

// A row with the texts that its entries refer to: it lives until the reply was sent.
struct IfMibRow {
    TagArray array;
    char phys_address[hwaddr_text_size];
    Description description;
};

// What a core dump shows of the request that ended the process.
char request_path[128];

void note_request(const confd_hkeypath_t *kp)
{
    confd_pp_kpath(request_path, sizeof request_path, kp);
}

void put_names(IfMibRow &row, tollan_ctx *handle, const InterfaceMap &interface)
{
    if (interface.list_tag == gw_system_Cellular) {
        put(row.array, TAG_DESCRIPTION, text_value(cellular_description));
        put(row.array, TAG_NAME, text_value(interface.display_name));
        return;
    }
    put(row.array, TAG_NAME, text_value(interface.display_name));
    const char *text = gigabitethernet_description(handle, interface.port_key, module_name, row.description);
    put(row.array, TAG_DESCRIPTION, text_value(text));
}

int status_of(int up)
{
    return up != 0 ? STATUS_UP : STATUS_DOWN;
}

// Says in the log what the link library and the address readers know; no entry comes from them.
void populate_interface_object_brief(IfMibRow &row, tollan_ctx *handle, const InterfaceMap &interface)
{
    LinkRecord link;
    char mask[16];
    get_link_record(interface.device, LOG_DEBUG, link);
    put_names(row, handle, interface);
    const int admin_up = is_if_admin_up(interface.device);
    const int running = is_if_running(interface.device);
    if (admin_up != 0) tarvo_read_ip_from_click(interface.device, link.info.addr, mask, nullptr, nullptr);
    put(row.array, TAG_ADMIN_STATUS, enum_value(status_of(admin_up)));
    put(row.array, TAG_OPER_STATUS, enum_value(status_of(running)));
    put(row.array, TAG_MTU, uint32_value(static_cast<std::uint32_t>(get_if_mtu(interface.device))));
}

void populate_interface_if_mib_detail_stats(IfMibRow &row, const char *device)
{
    if (read_hwaddr_text(device, "populate_interface_if_mib_detail_stats", row.phys_address)) {
        put(row.array, TAG_PHYS_ADDRESS, binary_value(row.phys_address, sizeof row.phys_address));
    }
    if (is_cell_1_0(device)) {
        put(row.array, TAG_TYPE, enum_value(TYPE_OTHER));
        return;
    }
    const std::uint32_t speed = read_lan_speed();
    put(row.array, TAG_SPEED, uint32_value(speed));
    put(row.array, TAG_HIGH_SPEED, uint32_value(speed));
    put(row.array, TAG_TYPE, enum_value(TYPE_GIGABIT_ETHERNET));
}

void populate_interface_stats(TagArray &array, int slot)
{
    const IfStatSample current = read_current_stats(slot);
    for (const std::uint32_t tag : uncounted32) {
        put(array, tag, uint32_value(0));
    }
    for (const TaggedCounter &counter : counters32) {
        put(array, counter.tag, uint32_value(static_cast<std::uint32_t>(current.*counter.field)));
    }
    put_counters(array, counters64, current);
    for (const std::uint32_t tag : uncounted64) {
        put(array, tag, uint64_value(0));
    }
}

// The number of entries, or -1 for a key without a device.
int ifmib_details_get(tollan_ctx *handle, IfMibRow &row, int index, const char *key)
{
    char device[device_name_size];
    put(row.array, TAG_INDEX, int32_value(index));
    if_port_to_device(key, device);
    if (!is_valid_ifname(device)) {
        log_trace(LOG_ERR, "ifmib_details_get", "populate_interface_object_brief failed");
        return -1;
    }
    const InterfaceMap &interface = interface_map[statistics_slot(key)]; // a key with a device has a slot
    populate_interface_object_brief(row, handle, interface);
    populate_interface_if_mib_detail_stats(row, device);
    populate_interface_stats(row.array, interface.statistics_slot);
    return row.array.count;
}

int reply_row(confd_trans_ctx *tctx, int index)
{
    IfMibRow row;
    char key[16];
    snprintf(key, sizeof key, "%d/%d", index - 1, 0);
    const int count = ifmib_details_get(module_handle(tctx), row, index, key);
    if (count < 0) return CONFD_ERR;
    return confd_data_reply_next_object_tag_value_array(tctx, row.array.entries, count, no_next);
}

int reply_end_of_table(confd_trans_ctx *tctx)
{
    confd_data_reply_next_object_tag_value_array(tctx, nullptr, 0, no_next);
    return CONFD_OK;
}

std::int32_t checked_index(const confd_value_t &element, unsigned line = __builtin_LINE())
{
    assert_model(element.type == C_INT32, module_name, "(key_p)->type == C_INT32", line);
    return element.val.i32;
}

// The row behind the given one; rows + 1 for none.
int row_after(std::int32_t index)
{
    if (index < 0) return 1;
    return index < rows ? index + 1 : rows + 1;
}

} // namespace

int tarvo_if_mib_get_object(confd_trans_ctx *tctx, confd_hkeypath_t *kp)
{
    note_request(kp);
    const std::int32_t index = checked_index(kp->v[0][0]);
    IfMibRow row;
    char key[24] = "1/0";
    // Other indexes give keys without a device.
    if (index != 2) snprintf(key, sizeof key, "0/%ld", static_cast<long>(index) - 1);
    const int count = ifmib_details_get(module_handle(tctx), row, index, key);
    if (count >= 0 && confd_data_reply_tag_value_array(tctx, row.array.entries, count) == CONFD_OK) return CONFD_OK;
    log_trace(LOG_ERR, "tarvo_if_mib_get_object", " confd data reply failed\n");
    return CONFD_ERR;
}

// Starts a walk. The rows behind the first are asked for with tarvo_if_mib_find_next().
int tarvo_if_mib_get_next(confd_trans_ctx *tctx, confd_hkeypath_t *kp, long next)
{
    note_request(kp);
    if (next != no_next) return reply_end_of_table(tctx);
    reply_row(tctx, 1);
    return CONFD_OK;
}

int tarvo_if_mib_find_next(confd_trans_ctx *tctx, confd_hkeypath_t *kp, int /*type*/, confd_value_t *inkeys,
                           int num_keys)
{
    note_request(kp);
    const int index = num_keys > 0 ? row_after(checked_index(inkeys[0])) : 1;
    if (index > rows) return reply_end_of_table(tctx);
    if (reply_row(tctx, index) == CONFD_OK) return CONFD_OK;
    log_trace(LOG_ERR, "tarvo_if_mib_find_next", "confd data reply failed\n");
    return CONFD_ERR;
}

int tarvo_if_mib_get_elem(confd_trans_ctx *tctx, confd_hkeypath_t *kp)
{
    note_request(kp);
    if (checked_tag(kp->v[0][0], module_name) != tag_if_number) return CONFD_ERR;
    const confd_value_t count = int32_value(rows);
    confd_data_reply_value(tctx, &count);
    return CONFD_OK;
}
