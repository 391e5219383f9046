#include "show/transceiver.h"

#include <atomic>
#include <safe_mem_lib.h>

#include "core/base/assertion.h"
#include "core/base/globals.h"
#include "core/base/log.h"
#include "core/base/module_handle.h"
#include "core/base/tag_values.h"
#include "monitor/phy.h"
#include "show/sfp_bus.h"

std::uint8_t g_sfp_info_data[sfp_info_size];

namespace {

constexpr const char *module_name = "tarvo_show";

// Leaves that the gateway answers, not the module.
enum : std::uint32_t { TAG_PHY_LINK = 1853903884, TAG_SFP_PORT = 1863619942 };

std::uint32_t leaf_tag(const confd_trans_ctx *tctx, const confd_hkeypath_t *kp)
{
    assert_model(module_handle(tctx) != nullptr, module_name, "tollan_ctx_p != NULL");
    assert_model(kp->v[0][0].type == C_XMLTAG, module_name, "(&(keypath_p->v[0][0]))->type == C_XMLTAG");
    return kp->v[0][0].val.xmltag.tag;
}

void report_absence()
{
    log_guarded(LOG_ERR, "Unable to read or detect transceiver.");
}

// Null: there is no such leaf.
int answer(confd_trans_ctx *tctx, const char *text)
{
    const confd_value_t value = text_value(text);
    const int sent = text != nullptr ? confd_data_reply_value(tctx, &value) : confd_data_reply_not_found(tctx);
    if (sent != CONFD_OK) {
        log_guarded(LOG_DEBUG, "Failed to send oper data reply - %s (%d) : %s", confd_strerror(confd_errno),
                    confd_errno, confd_lasterr());
    }
    return CONFD_OK;
}

} // namespace

int tarvo_show_transceiver_oper_status_get_elem(confd_trans_ctx *tctx, confd_hkeypath_t *kp)
{
    const std::uint32_t tag = leaf_tag(tctx, kp);
    SfpDiag diag{};
    char text[sfp_text_size];
    if (sfp_read_diag(diag) == 0) report_absence();
    return answer(tctx, sfp_diag_text(diag, tag, text) ? text : nullptr);
}

int tarvo_show_transceiver_idprom_info_get_elem(confd_trans_ctx *tctx, confd_hkeypath_t *kp)
{
    const std::uint32_t tag = leaf_tag(tctx, kp);
    char text[sfp_text_size];
    if (sfp_read_idprom(g_sfp_info_data) == 0) {
        memset_s(g_sfp_info_data, sizeof g_sfp_info_data, 0, sizeof g_sfp_info_data);
        report_absence();
    }
    if (tag == TAG_PHY_LINK) return answer(tctx, read_phy_status() == 1 ? "Connected" : "Not Connected");
    if (tag == TAG_SFP_PORT) {
        return answer(tctx, g_gig_media_type.load(std::memory_order_relaxed) == 0 ? "Enabled" : "Disabled");
    }
    return answer(tctx, sfp_idprom_text(g_sfp_info_data, tag, text) ? text : nullptr);
}
