#include "agent/handlers.h"

namespace agent {

void on_register(Agent &agent, Request request, std::string_view payload)
{
    proto::Register record;
    if (take(agent, request, payload, &record)) register_application(agent, request, record);
}

void on_notify(Agent &agent, Request request, std::string_view payload)
{
    proto::Notify record;
    if (!take(agent, request, payload, &record)) return;
    notification_came(agent, record);
    answer(agent, request);
}

void on_trap(Agent &agent, Request request, std::string_view payload)
{
    proto::Trap record;
    if (!take(agent, request, payload, &record)) return;
    trap_came(agent, record);
    answer(agent, request);
}

} // namespace agent
