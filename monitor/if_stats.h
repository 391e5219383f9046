// Interface statistics.
#ifndef GW_MONITOR_IF_STATS_H
#define GW_MONITOR_IF_STATS_H

#include "confd.h"

// The action that starts all counters from zero. Always 0, without reply values.
int clear_counters_action(confd_user_info *uinfo, confd_xmltag *name, confd_hkeypath_t *kp, confd_tag_value_t *params,
                          int num_params);

#endif
