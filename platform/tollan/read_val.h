// The connection that tollan_read_val keeps between calls.
#ifndef GW_PLATFORM_TOLLAN_READ_VAL_H
#define GW_PLATFORM_TOLLAN_READ_VAL_H

namespace tollan {

void close_read_socket();

} // namespace tollan

#endif
