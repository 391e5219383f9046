#include "platform/tollan/registration.h"

#include <sys/random.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

static_assert(sizeof(tollan_subscription) == TOLLAN_ENTRY_SIZE);
static_assert(offsetof(tollan_subscription, handler) == 136 && offsetof(tollan_subscription, ns_hash) == 152);
static_assert(offsetof(tollan_subscription, priority) == 164 && offsetof(tollan_subscription, oper) == 166);
static_assert(sizeof(TollanModuleParams) == 112 && offsetof(TollanModuleParams, register_data) == 56);
static_assert(offsetof(TollanModuleParams, evbase) == 80 && offsetof(TollanModuleParams, byte96) == 96);

namespace tollan {

namespace {

// The text of a fixed field, which need not be terminated.
template <std::size_t N> std::string field_text(const char (&field)[N])
{
    return {field, strnlen(field, N)};
}

// Tells the agent whether a connection is this process's next or another process's first.
std::uint64_t draw_instance()
{
    std::uint64_t number = 0;
    if (getrandom(&number, sizeof number, 0) != sizeof number) number = static_cast<std::uint64_t>(getpid());
    return number;
}

std::uint64_t instance()
{
    static const std::uint64_t number = draw_instance();
    return number;
}

std::uint8_t calls_of(const confd_data_cbs &cbs)
{
    const auto bit = [](bool set, proto::DataCall call) {
        return static_cast<unsigned>(set) << static_cast<unsigned>(call);
    };
    return static_cast<std::uint8_t>(
        bit(cbs.get_elem, proto::DataCall::get_elem) | bit(cbs.get_next, proto::DataCall::get_next) |
        bit(cbs.get_object, proto::DataCall::get_object) | bit(cbs.get_next_object, proto::DataCall::get_next_object) |
        bit(cbs.find_next_object, proto::DataCall::find_next_object));
}

} // namespace

std::size_t count_rows(const tollan_subscription *table)
{
    std::size_t rows = 0;
    while (table && table[rows].path[0] != '\0') {
        rows++;
    }
    return rows;
}

proto::Register make_registration(const Module &module)
{
    proto::Register out;
    out.app = program_invocation_short_name;
    out.instance = instance();
    out.last_txid = module.last_txid;
    out.last_done = module.last_done;
    for (std::size_t i = 0; i < module.rows; i++) {
        const tollan_subscription &row = module.params.subscriptions[i];
        out.subscriptions.push_back({field_text(row.path), row.ns_hash, row.priority, row.flags, row.oper});
    }
    for (const confd_valpoint_cb *row = module.params.validation_points; row && row->valpoint[0] != '\0'; row++) {
        out.validation_points.push_back(field_text(row->valpoint));
    }
    for (const confd_action_cbs *row = module.params.action_points; row && row->actionpoint[0] != '\0'; row++) {
        out.action_points.push_back(field_text(row->actionpoint));
    }
    for (const confd_data_cbs &cbs : module.dx.callbacks) {
        out.callpoints.push_back({field_text(cbs.callpoint), calls_of(cbs)});
    }
    return out;
}

} // namespace tollan
