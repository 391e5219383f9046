#include "config/ip_passthrough.h"

int tarvo_config_ip_passthrough(tollan_change_ctx * /*ctx*/, int /*op*/, int /*num_keys*/, confd_value_t * /*keys*/,
                                std::uint16_t /*num_values*/, confd_tag_value_t * /*values*/)
{
    return CONFD_OK; // not ready: changes have no effect until they are applied here
}

int tarvo_oper_cellular_notification_cb(tollan_change_ctx * /*ctx*/, int /*op*/, int /*num_keys*/,
                                        confd_value_t * /*keys*/, std::uint16_t /*num_values*/,
                                        confd_tag_value_t * /*values*/)
{
    return CONFD_OK; // not ready: changes have no effect until they are applied here
}
