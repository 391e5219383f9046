#include "config/snmp_settings.h"

#include "core/base/assertion.h"
#include "core/base/globals.h"

namespace {

constexpr std::uint32_t tag_disable = 0x1b761457;
constexpr int trap_target_keys = 2;

} // namespace

int tarvo_snmp_settings_cb(tollan_change_ctx * /*ctx*/, int /*op*/, int /*num_keys*/, confd_value_t * /*keys*/,
                           std::uint16_t num_values, confd_tag_value_t *values)
{
    for (int i = 0; i < num_values; ++i) {
        if (values[i].tag.tag != tag_disable) continue;
        const confd_value_t &disable = values[i].v;
        assert_model(disable.type == C_BOOL, "tarvo_snmp", "(val_p)->type == C_BOOL");
        snmp_enable.store(disable.val.boolean == 1 ? 0 : 1, std::memory_order_relaxed);
        break;
    }
    return 0;
}

int tarvo_snmp_trap_target_cb(tollan_change_ctx * /*ctx*/, int op, int num_keys, confd_value_t * /*keys*/,
                              std::uint16_t /*num_values*/, confd_tag_value_t * /*values*/)
{
    if (num_keys != trap_target_keys) return 1;
    // Only this thread writes the count; it is eight bits wide and wraps.
    const std::uint8_t targets = snmp_trap_enable.load(std::memory_order_relaxed);
    if (op == MOP_CREATED) snmp_trap_enable.store(static_cast<std::uint8_t>(targets + 1), std::memory_order_relaxed);
    if (op == MOP_DELETED && targets > 0) {
        snmp_trap_enable.store(static_cast<std::uint8_t>(targets - 1), std::memory_order_relaxed);
    }
    return 0;
}
