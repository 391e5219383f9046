// What the handlers of the lists share.
#include "dhcp/dhcp_lists.h"

#include <arpa/inet.h>

int format_ipv4_value(const confd_value_t &value, char (&text)[INET_ADDRSTRLEN])
{
    if (value.type != C_IPV4) return 0;
    inet_ntop(AF_INET, &value.val.ip, text, sizeof text);
    return AF_INET;
}

void log_pair(TracePoint point, const confd_tag_value_t &pair)
{
    log_trace(LOG_DEBUG, point, "tagstr:%s, type:%d", confd_hash2str(pair.tag.tag), static_cast<int>(pair.v.type));
}
