// Addresses of the interfaces: the LAN's from ifconfig on "srcr2", the WAN's from the data plane's control files.
#ifndef GW_SHOW_CLICK_ADDRESS_H
#define GW_SHOW_CLICK_ADDRESS_H

#include <cstdint>

// `ip` and `mask` hold 16 bytes, `ip6` 46; they stay as they are when there is nothing to read, so give them the
// fallback. `ip6` and `plen` may be null and belong to "cell_1_0" only, where they start as "" and 0. For that device 0
// means that IPv4 address, mask and an active IPv6 address were all read; callers that want IPv4 alone ignore it.
int tarvo_read_ip_from_click(const char *device, char *ip, char *mask, char *ip6, std::uint8_t *plen);

#endif
