// The operational interface table: one row per interface, each leaf asked for by itself.
#include "show/tarvo_show.h"

#include <cstdio>
#include <cstring>

#include "core/base/module_handle.h"
#include "core/base/tag_values.h"
#include "monitor/if_stats.h"
#include "show/click_address.h"
#include "show/if_info.h"
#include "show/if_map.h"
#include "show/interface_facts.h"

namespace {

constexpr const char *module_name = "tarvo_show";
constexpr const char *lan_name = interface_map[0].display_name;
constexpr const char *wan_name = interface_map[1].display_name;
constexpr long rows = 2;
enum { DUPLEX_FULL = 0, DUPLEX_HALF = 1, DUPLEX_UNKNOWN = 2 };

// The row a leaf is asked of. A name can have the numbers of an interface and still be neither: some leaves have no
// value then.
struct RtmIf {
    const char *name;
    bool lan;
    bool wan;
    int slot; // of the statistics
    char device[device_name_size];
};

struct LeafAnswer {
    confd_value_t value;
    char text[command_output_size]; // room for what the value refers to
};

// False: the row has no such value.
using LeafBuilder = bool (*)(const RtmIf &row, LeafAnswer &answer);

bool build_name(const RtmIf &row, LeafAnswer &answer)
{
    answer.value = text_value(row.name);
    return true;
}

bool build_description(const RtmIf &row, LeafAnswer &answer)
{
    answer.value = text_value(row.lan ? "LAN interface" : "WAN interface");
    return row.lan || row.wan;
}

bool build_type(const RtmIf &row, LeafAnswer &answer)
{
    answer.value = enum_value(row.lan ? 3 : 1);
    return row.lan || row.wan;
}

void read_device_attribute(const RtmIf &row, const char *attribute, LeafAnswer &answer)
{
    char command[output_command_size];
    snprintf(command, sizeof command, "/bin/cat /sys/class/net/%s/%s", row.device, attribute);
    read_command_output(command, answer.text);
}

bool build_index(const RtmIf &row, LeafAnswer &answer)
{
    read_device_attribute(row, "ifindex", answer);
    answer.value = uint32_value(leading_number(answer.text));
    return true;
}

bool build_hwaddr(const RtmIf &row, LeafAnswer &answer)
{
    read_device_attribute(row, "address", answer);
    answer.value = text_value(answer.text);
    return true;
}

bool build_ip_address(const RtmIf &row, LeafAnswer &answer)
{
    char mask[16];
    answer.text[0] = '\0';
    tarvo_read_ip_from_click(row.device, answer.text, mask, nullptr, nullptr);
    answer.value = text_value(answer.text);
    return true;
}

bool build_ip6_address(const RtmIf &row, LeafAnswer &answer)
{
    answer.value = text_value("N/A");
    if (!row.wan) return true;
    if (is_if_admin_up(row.device) == 0) return false;
    char ip[16];
    char mask[16];
    answer.text[0] = '\0';
    tarvo_read_ip_from_click(row.device, ip, mask, answer.text, nullptr);
    answer.value = text_value(answer.text);
    return true;
}

bool build_admin_status(const RtmIf &row, LeafAnswer &answer)
{
    answer.value = text_value(is_if_admin_up(row.device) != 0 ? "Up" : "Down");
    return true;
}

bool build_oper_status(const RtmIf &row, LeafAnswer &answer)
{
    answer.value = text_value(is_if_running(row.device) != 0 ? "Up" : "Down");
    return true;
}

bool build_mtu(const RtmIf &row, LeafAnswer &answer)
{
    answer.value = uint32_value(static_cast<std::uint32_t>(get_if_mtu(row.device)));
    return true;
}

// The modem has no network speed of its own: its bus says how fast it can be.
std::uint32_t read_modem_speed(char (&output)[command_output_size])
{
    read_command_output("/bin/cat /sys/bus/usb/devices/usb2/speed", output);
    return leading_number(output);
}

bool build_speed(const RtmIf &row, LeafAnswer &answer)
{
    if (!row.lan && !row.wan) return false;
    answer.value = uint32_value(row.lan ? read_lan_speed() : read_modem_speed(answer.text));
    return true;
}

bool build_duplex(const RtmIf &row, LeafAnswer &answer)
{
    if (!row.lan && !row.wan) return false;
    int duplex = DUPLEX_UNKNOWN;
    if (row.lan) {
        read_device_attribute(row, "duplex", answer);
        if (strcmp(answer.text, "full") == 0) duplex = DUPLEX_FULL;
        if (strcmp(answer.text, "half") == 0) duplex = DUPLEX_HALF;
    }
    answer.value = enum_value(duplex);
    return true;
}

bool build_up_since(const RtmIf & /*row*/, LeafAnswer &answer)
{
    read_command_output("/usr/bin/uptime -s", answer.text);
    answer.value = text_value(answer.text);
    return true;
}

bool build_zero(const RtmIf & /*row*/, LeafAnswer &answer)
{
    answer.value = uint32_value(0);
    return true;
}

bool build_first_enum(const RtmIf & /*row*/, LeafAnswer &answer)
{
    answer.value = enum_value(0);
    return true;
}

template <std::uint64_t IfStatSample::*field> bool build_counter(const RtmIf &row, LeafAnswer &answer)
{
    answer.value = uint64_value(read_current_stats(row.slot).*field);
    return true;
}

template <std::uint64_t IfStatSample::*field> bool build_kbps(const RtmIf &row, LeafAnswer &answer)
{
    answer.value = uint64_value(read_current_stats(row.slot).*field / 1000);
    return true;
}

struct Leaf {
    std::uint32_t tag;
    LeafBuilder build;
};

constexpr Leaf leaves[] = {
    {0x18177d15, build_name                             },
    {0x5b8941a1, build_description                      },
    {0x5f04ce4d, build_type                             },
    {0x4b174187, build_index                            },
    {0x4e669051, build_hwaddr                           },
    {0x022e61d1, build_ip_address                       },
    {0x2b9fd442, build_ip6_address                      },
    {0x74688fc4, build_admin_status                     },
    {0x2f7712c5, build_oper_status                      },
    {0x68651712, build_mtu                              },
    {0x673241f6, build_speed                            },
    {0x3ebf7e06, build_duplex                           },
    {0x4b9a2e7f, build_up_since                         },
    {0x3e34c8d0, build_zero                             },
    {0x1e87d7fa, build_first_enum                       },
    {0x233d0e85, build_first_enum                       },
    {0x05ad6108, build_counter<&IfStatSample::rx_pkts>  },
    {0x19e2c737, build_counter<&IfStatSample::rx_errors>},
    {0x72ab2467, build_counter<&IfStatSample::rx_drops> },
    {0x4e3a879f, build_counter<&IfStatSample::rx_pps>   },
    {0x61fe769b, build_kbps<&IfStatSample::rx_bps>      },
    {0x69d98b2a, build_counter<&IfStatSample::tx_pkts>  },
    {0x385916eb, build_counter<&IfStatSample::tx_errors>},
    {0x03524415, build_counter<&IfStatSample::tx_drops> },
    {0x416f5de9, build_counter<&IfStatSample::tx_pps>   },
    {0x1591be0d, build_kbps<&IfStatSample::tx_bps>      },
};

LeafBuilder builder_of(std::uint32_t tag)
{
    for (const Leaf &leaf : leaves) {
        if (leaf.tag == tag) return leaf.build;
    }
    return nullptr;
}

// False when the name's numbers are those of no interface.
bool find_row(const char *name, RtmIf &row)
{
    int slot = 0;
    int port = 0;
    char key[24];
    // NOLINTNEXTLINE(cert-err34-c): what cannot be read counts as 0.
    sscanf(name, "%*s %d/%d", &slot, &port);
    snprintf(key, sizeof key, "%d/%d", slot, port);
    const long statistics = statistics_slot(key);
    if (statistics != 0 && statistics != 1) return false;
    row.name = name;
    row.lan = strcmp(name, lan_name) == 0;
    row.wan = strcmp(name, wan_name) == 0;
    row.slot = static_cast<int>(statistics);
    if_port_to_device(key, row.device);
    return true;
}

} // namespace

int tarvo_show_rtm_if_get_next(confd_trans_ctx *tctx, confd_hkeypath_t * /*kp*/, long next)
{
    const long index = next == -1 ? 0 : next;
    if (index < 0 || index >= rows) {
        confd_data_reply_next_key(tctx, nullptr, 0, -1);
        return CONFD_OK;
    }
    const confd_value_t keys[] = {uint32_value(0), text_value(index == 0 ? lan_name : wan_name), enum_value(0)};
    confd_data_reply_next_key(tctx, keys, 3, index + 1);
    return CONFD_OK;
}

int tarvo_show_rtm_if_get_elem(confd_trans_ctx *tctx, confd_hkeypath_t *kp)
{
    if (!module_is_ready(module_handle(tctx))) return reply_not_found(tctx);
    RtmIf row{};
    if (!find_row(checked_text(kp->v[1][1], module_name), row)) return reply_not_found(tctx);
    const LeafBuilder build = builder_of(checked_tag(kp->v[0][0], module_name));
    if (build == nullptr) {
        confd_trans_seterr(tctx, "unknown leaf");
        return CONFD_ERR;
    }
    LeafAnswer answer;
    if (!build(row, answer)) return reply_not_found(tctx);
    confd_data_reply_value(tctx, &answer.value);
    return CONFD_OK;
}
