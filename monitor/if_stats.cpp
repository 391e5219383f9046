#include "monitor/if_stats.h"

int clear_counters_action(confd_user_info * /*uinfo*/, confd_xmltag * /*name*/, confd_hkeypath_t * /*kp*/,
                          confd_tag_value_t * /*params*/, int /*num_params*/)
{
    return CONFD_ERR; // not ready: there are no counters yet, and nobody shall be told that they were cleared
}
