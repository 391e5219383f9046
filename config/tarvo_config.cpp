#include "config/tarvo_config.h"

#include <arpa/inet.h>
#include <bit>
#include <cstdio>

#include "core/base/assertion.h"
#include "core/base/command_runner.h"
#include "core/base/globals.h"
#include "core/base/log.h"
#include "maker.h"
#include "show/if_map.h"

namespace {

constexpr const char *module_name = "tarvo_config";
constexpr const char *session_script = "/etc/dnsmasq/ip_session.sh";
constexpr const char *default_lan_address = "192.168.1.1";
constexpr unsigned default_lan_prefix = 24;
constexpr unsigned longest_lan_prefix = 30;

enum : std::uint32_t { TAG_IP = 0x61fa2cdb, TAG_MASK = 0x4591c4f1, TAG_V4 = 0x1089ff91, TAG_MEDIA_TYPE = 0x5c4c4bb4 };

// What one change says about the LAN address.
struct EthChange {
    int op = 2; // for the log; set_address once an address is given
    int family = 0;
    char address[INET6_ADDRSTRLEN] = "";
    unsigned prefix_length = 0;
};

struct ChangedPort {
    const char *key;
    char device[device_name_size];
};

// The key of an interface list's entry.
ChangedPort changed_port(int num_keys, const confd_value_t *keys)
{
    assert_model(num_keys > 0 && keys->type == C_BUF, module_name, "(key_p)->type == C_BUF");
    ChangedPort port{};
    port.key = reinterpret_cast<const char *>(keys->val.buf.ptr);
    if_port_to_device(port.key, port.device);
    return port;
}

unsigned prefix_length_of(in_addr mask)
{
    return static_cast<unsigned>(std::popcount(mask.s_addr));
}

in_addr netmask_of(unsigned prefix_length)
{
    const std::uint32_t host = prefix_length == 0 ? 0 : UINT32_MAX << (32 - prefix_length);
    return {htonl(host)};
}

void take_ipv4(EthChange &change, in_addr address)
{
    inet_ntop(AF_INET, &address, change.address, sizeof change.address);
    change.family = AF_INET;
}

// The tag belongs to a container as well, whose begin has neither type.
void take_address(EthChange &change, const confd_value_t &value)
{
    if (value.type == C_IPV4) {
        take_ipv4(change, value.val.ip);
        change.op = set_address;
    } else if (value.type == C_IPV6) {
        inet_ntop(AF_INET6, &value.val.ip6, change.address, sizeof change.address);
        change.family = AF_INET6;
        change.op = set_address;
    }
}

void take_media_type(const confd_value_t &value)
{
    const std::int32_t media = value.type == C_ENUM_VALUE ? value.val.enumvalue : 1;
    if (media == 0 || media == 1) g_gig_media_type.store(media, std::memory_order_relaxed);
}

void take_pair(EthChange &change, const confd_tag_value_t &pair)
{
    switch (pair.tag.tag) {
    case TAG_MASK:
        if (pair.v.type == C_IPV4) change.prefix_length = prefix_length_of(pair.v.val.ip);
        break;
    case TAG_V4:
        if (pair.v.type == C_XMLBEGIN) change.family = AF_INET;
        break;
    case TAG_MEDIA_TYPE:
        take_media_type(pair.v);
        break;
    case TAG_IP:
        take_address(change, pair.v);
        break;
    default:
        break;
    }
}

// A leaf of the entry's v4 container as it is stored. False when it cannot be read.
bool read_stored(tollan_change_ctx *ctx, const char *key, const char *leaf, in_addr &stored)
{
    char path[256];
    confd_value_t existing_val{};
    snprintf(path, sizeof path, "/interface/GigabitEthernet{\"%s\"}/ip/address/v4/%s", key, leaf);
    if (tollan_read_val(ctx->handle, path, &existing_val) != 0) return false;
    assert_model(existing_val.type == C_IPV4, module_name, "(&existing_val)->type == C_IPV4");
    stored = existing_val.val.ip;
    tollan_release_val(&existing_val);
    return true;
}

void fill_stored_mask(EthChange &change, tollan_change_ctx *ctx, const char *key)
{
    in_addr mask{};
    if (read_stored(ctx, key, "mask", mask)) {
        change.prefix_length = prefix_length_of(mask);
    } else {
        log_guarded(LOG_ERR, "Failed to read old netmask: [%s] [%d]: [%s]", confd_strerror(confd_errno), confd_errno,
                    confd_lasterr());
    }
}

void fill_stored_address(EthChange &change, tollan_change_ctx *ctx, const char *key)
{
    in_addr address{};
    if (read_stored(ctx, key, "ip", address)) {
        take_ipv4(change, address);
    } else {
        log_guarded(LOG_ERR, "Failed to read old IP address: [%s] [%d]: [%s]", confd_strerror(confd_errno), confd_errno,
                    confd_lasterr());
    }
}

void apply(const EthChange &change, const char *device)
{
    log_guarded(LOG_INFO, "tarvo modified op [%d] if [%s] ip [%s] [%d] [%d]", change.op, device, change.address,
                static_cast<int>(change.prefix_length), change.family);
    if (__tarvo_configure_eth(device, set_address, change.family, change.address, change.prefix_length) == 0) return;
    log_guarded(LOG_ERR, "Failed to configure interface with params [%d] [%s] [%s] [%d] [%d]", change.op, device,
                change.address, static_cast<int>(change.prefix_length), change.family);
}

} // namespace

int tarvo_config_gigabitethernet(tollan_change_ctx *ctx, int op, int num_keys, confd_value_t *keys,
                                 std::uint16_t num_values, confd_tag_value_t *values)
{
    const ChangedPort port = changed_port(num_keys, keys);
    if (op == MOP_DELETED) {
        log_guarded(LOG_INFO, "Deleting the interface config [%s]", port.device);
        tarvo_configure_srcr2_default();
        return 0;
    }
    EthChange change;
    for (int i = 0; i < num_values; ++i) {
        take_pair(change, values[i]);
    }
    const bool has_address = change.address[0] != '\0';
    if (change.prefix_length == 0 && !has_address) {
        tarvo_configure_srcr2_default();
        return 0;
    }
    if (change.prefix_length == 0) fill_stored_mask(change, ctx, port.key);
    if (!has_address) fill_stored_address(change, ctx, port.key);
    apply(change, port.device);
    return 0;
}

int tarvo_config_interface(tollan_change_ctx * /*ctx*/, int op, int num_keys, confd_value_t *keys,
                           std::uint16_t /*num_values*/, confd_tag_value_t * /*values*/)
{
    const ChangedPort port = changed_port(num_keys, keys);
    if (op == MOP_DELETED) log_guarded(LOG_INFO, "Deleting the interface [%s]", port.device);
    return 0;
}

int __tarvo_configure_eth(const char *device, int /*op*/, int /*family*/, const char *address, unsigned prefix_length)
{
    if (prefix_length > longest_lan_prefix) return -1;
    const in_addr mask = netmask_of(prefix_length);
    char mask_text[INET_ADDRSTRLEN];
    char command[256];
    inet_ntop(AF_INET, &mask, mask_text, sizeof mask_text);
    log_guarded(LOG_INFO, "Changing the interface [%s] IP address to [%s/%u], mask:0x%x, %s", device, address,
                prefix_length, mask.s_addr, mask_text);
    // The numbers are the script's own.
    snprintf(command, sizeof command, "%s %d %d %d %d %s %s", session_script, 2, 0, 0, 0, address, mask_text);
    log_guarded(LOG_INFO, "%s: cmd: %s", "__tarvo_configure_eth", command);
    run_shell(command);
    return 0;
}

void tarvo_configure_srcr2_default()
{
    if (__tarvo_configure_eth("srcr2", set_address, AF_INET, default_lan_address, default_lan_prefix) == 0) {
        log_guarded(LOG_INFO, "Configure srcr2 interface with default parameters\n");
    } else {
        log_guarded(LOG_ERR, "Failed to configure interface with params [%s] [%d] ", default_lan_address,
                    static_cast<int>(default_lan_prefix));
    }
}

bool is_contiguous_netmask(std::uint32_t mask)
{
    return mask != 0 && (mask & (~mask >> 1)) == 0;
}

int tarvo_validate_interface(confd_trans_ctx *tctx, confd_hkeypath_t * /*kp*/, confd_value_t *newval)
{
    assert_model(newval->type == C_BUF, module_name, "(new_val_p)->type == C_BUF");
    char device[device_name_size];
    if_port_to_device(reinterpret_cast<const char *>(newval->val.buf.ptr), device);
    log_guarded(LOG_DEBUG, "Checking interface [ %s ]", device);
    const int found = zel_link_check(device);
    if (found == 0) return CONFD_OK;
    if (found == 2) {
        log_guarded(LOG_ERR, "Could not find interface: %s", device);
        confd_trans_seterr(tctx, "Could not find interface : [ %s ]", device);
    } else {
        confd_trans_seterr(tctx, "Error while checking for interface : [ %s ]", device);
    }
    return CONFD_ERR;
}

// Accepts 31 and 32 bits as well; applying them is refused later.
int tarvo_validate_netmask(confd_trans_ctx *tctx, confd_hkeypath_t * /*kp*/, confd_value_t *newval)
{
    log_guarded(LOG_DEBUG, "type:%d", static_cast<int>(newval->type));
    assert_model(newval->type == C_IPV4, "tarvo_confd", "(new_val_p)->type == C_IPV4");
    if (is_contiguous_netmask(ntohl(newval->val.ip.s_addr))) return CONFD_OK;
    confd_trans_seterr(tctx, "invalid netmask");
    return CONFD_ERR;
}

int tarvo_validate_interface_type(confd_trans_ctx * /*tctx*/, confd_hkeypath_t * /*kp*/, confd_value_t * /*newval*/)
{
    return CONFD_OK;
}

int tarvo_validate_passthrough_feature_supported(confd_trans_ctx * /*tctx*/, confd_hkeypath_t * /*kp*/,
                                                 confd_value_t * /*newval*/)
{
    return CONFD_OK;
}

int tarvo_validate_passthrough_feature_disabled(confd_trans_ctx *tctx, confd_hkeypath_t * /*kp*/,
                                                confd_value_t * /*newval*/)
{
    if (passthrough_enabled == 0) return CONFD_OK;
    confd_trans_seterr(tctx, "Operation not allowed in passthrough disabled mode");
    return CONFD_ERR;
}
