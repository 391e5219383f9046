// The names behind tags and namespaces, as the agent gives them at registration.
#ifndef GW_PLATFORM_CONFD_NAMES_H
#define GW_PLATFORM_CONFD_NAMES_H

#include <vector>

#include "protocol/application.h"

namespace confd {

// Names already handed out stay valid, whatever a later agent calls the same number.
void learn_names(const std::vector<proto::TagName> &list);

} // namespace confd

#endif
