#include <cstdio>

#include "core/base/assertion.h"
#include "core/base/log.h"
#include "dhcp/dhcp_lists.h"
#include "dhcp/pool_arithmetic.h"
#include "dhcp/side_file.h"

namespace {

constexpr const char *bindings_path = "/tmp/dnsmasq.bind.dhcp_hosts";
constexpr std::uint32_t tag_fixed_address = 0x7971ea23;

} // namespace

void write_mac_binding(const char *mac, bool delete_binding, in_addr address)
{
    log_trace(LOG_DEBUG, "write_mac_binding", "mac: %s, delete_binding: %d, bind_ip: %x", mac,
              static_cast<int>(delete_binding), address.s_addr);
    char line[36] = ""; // holds a MAC address and an IPv4 address; longer text is cut
    if (!delete_binding) {
        snprintf(line, sizeof line, "%s,%s", mac, dotted(address).text);
        log_trace(LOG_DEBUG, "write_mac_binding", "mac_bind_conf: %s", line);
    }
    process_dnsmasq_dhcp_file(bindings_path, delete_binding, mac, line);
}

int tarvo_config_dhcp_mac_binding(tollan_change_ctx * /*ctx*/, int /*op*/, int num_keys, confd_value_t *keys,
                                  std::uint16_t num_values, confd_tag_value_t *values)
{
    constexpr const char *name = "tarvo_config_dhcp_mac_binding";
    log_trace(LOG_DEBUG, name, "num_keys:%d, num_values:%d", num_keys, num_values);
    assert_model(keys->type == C_BUF, "dhcp_config", "(key_p)->type == C_BUF");
    bool delete_binding = true;
    in_addr address{};
    for (int i = 0; i < num_values; ++i) {
        log_pair(name, values[i]);
        if (values[i].tag.tag != tag_fixed_address || values[i].v.type != C_IPV4) continue;
        address = values[i].v.val.ip;
        delete_binding = false;
    }
    write_mac_binding(reinterpret_cast<const char *>(keys->val.buf.ptr), delete_binding, address);
    return CONFD_OK;
}
