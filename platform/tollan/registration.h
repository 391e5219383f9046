// What a daemon registers, as the agent wants to hear it.
#ifndef GW_PLATFORM_TOLLAN_REGISTRATION_H
#define GW_PLATFORM_TOLLAN_REGISTRATION_H

#include <cstddef>

#include "platform/tollan/module.h"
#include "protocol/application.h"

namespace tollan {

std::size_t count_rows(const tollan_subscription *table);
proto::Register make_registration(const Module &module);

} // namespace tollan

#endif
