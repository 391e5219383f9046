#include "snmp/tables.h"

#include <algorithm>
#include <span>
#include <utility>

#include "snmp/columns.h"

namespace snmp {

namespace {

using std::chrono::milliseconds;

constexpr milliseconds max_age{1000};
constexpr milliseconds refresh_age{700}; // leaves the agent time to answer before the data is too old
constexpr milliseconds interest{10000};  // how long after a request the data is kept fresh
constexpr milliseconds max_wait{2000};
constexpr std::size_t max_waiting = 64;

bool is_below(const Object &object, const netsnmp_handler_registration &registration)
{
    return object.length > registration.rootoid_len &&
           std::equal(registration.rootoid, registration.rootoid + registration.rootoid_len, object.name.begin());
}

void set_value(netsnmp_variable_list *variable, const Object &object)
{
    snmp_set_var_typed_value(variable, object.type, object.bytes.data(), object.bytes.size());
}

void get(const Snapshot &snapshot, netsnmp_agent_request_info *info, netsnmp_request_info *request)
{
    const Object *object = find_object(snapshot, request->requestvb->name, request->requestvb->name_length);
    if (object != nullptr) {
        set_value(request->requestvb, *object);
    } else {
        netsnmp_set_request_error(info, request, SNMP_NOSUCHINSTANCE);
    }
}

// A request that is left as it is goes on behind this registration.
void get_next(const Snapshot &snapshot, const netsnmp_handler_registration &registration, netsnmp_request_info *request)
{
    netsnmp_variable_list *variable = request->requestvb;
    const Object *object = find_next_object(snapshot, variable->name, variable->name_length);
    if (object == nullptr || !is_below(*object, registration)) return;
    snmp_set_var_objid(variable, object->name.data(), object->length);
    set_value(variable, *object);
}

void answer(const Snapshot &snapshot, const netsnmp_handler_registration &registration,
            netsnmp_agent_request_info *info, netsnmp_request_info *requests)
{
    for (netsnmp_request_info *request = requests; request != nullptr; request = request->next) {
        if (request->processed != 0) continue;
        if (info->mode == MODE_GET) {
            get(snapshot, info, request);
        } else {
            get_next(snapshot, registration, request);
        }
    }
}

bool set_aside(Tables *tables, netsnmp_mib_handler *handler, netsnmp_handler_registration *registration,
               netsnmp_agent_request_info *info, netsnmp_request_info *requests)
{
    if (tables->waiting.size() >= max_waiting) return false;
    netsnmp_delegated_cache *cache = netsnmp_create_delegated_cache(handler, registration, info, requests, nullptr);
    if (cache == nullptr) return false;
    netsnmp_handler_mark_requests_as_delegated(requests, REQUEST_IS_DELEGATED);
    tables->waiting.push_back({cache, Clock::now() + max_wait});
    return true;
}

int serve(netsnmp_mib_handler *handler, netsnmp_handler_registration *registration, netsnmp_agent_request_info *info,
          netsnmp_request_info *requests)
{
    auto *tables = static_cast<Tables *>(registration->my_reg_void);
    tables->last_request = Clock::now();
    if (tables->has_data && tables->last_request - tables->taken <= max_age) {
        answer(tables->snapshot, *registration, info, requests);
    } else if (!set_aside(tables, handler, registration, info, requests)) {
        netsnmp_set_all_requests_error(info, requests, SNMP_ERR_GENERR);
    }
    return SNMP_ERR_NOERROR;
}

// The manager may have gone meanwhile; the cache is then empty.
void finish(const Tables &tables, const Waiting &waiting, bool good)
{
    netsnmp_delegated_cache *cache = netsnmp_handler_check_cache(waiting.cache);
    if (cache != nullptr) {
        netsnmp_handler_mark_requests_as_delegated(cache->requests, REQUEST_IS_NOT_DELEGATED);
        if (good) {
            answer(tables.snapshot, *cache->reginfo, cache->reqinfo, cache->requests);
        } else {
            netsnmp_set_all_requests_error(cache->reqinfo, cache->requests, SNMP_ERR_GENERR);
        }
        // What the library does itself behind a handler that answers at once.
        if (good && cache->reqinfo->mode == MODE_GETBULK) netsnmp_bulk_to_next_fix_requests(cache->requests);
    }
    netsnmp_free_delegated_cache(waiting.cache);
}

bool register_one(const char *name, std::span<const unsigned long> root, Tables *tables)
{
    netsnmp_handler_registration *registration =
        netsnmp_create_handler_registration(name, serve, root.data(), root.size(), HANDLER_CAN_RONLY);
    if (registration == nullptr) return false;
    registration->my_reg_void = tables;
    return netsnmp_register_handler(registration) == MIB_REGISTERED_OK;
}

} // namespace

bool register_tables(Tables *tables)
{
    return register_one("ifNumber", if_number, tables) && register_one("ifTable", if_table, tables) &&
           register_one("ifXTable", if_x_table, tables);
}

Time next_refresh(const Tables &tables)
{
    if (!tables.waiting.empty()) return Time::min();
    const Time due = tables.taken + refresh_age;
    return due <= tables.last_request + interest ? due : never;
}

void refreshed(Tables *tables, Snapshot snapshot, Time asked)
{
    tables->has_data = snapshot.usable;
    tables->snapshot = std::move(snapshot);
    tables->taken = asked;
    for (const Waiting &waiting : std::exchange(tables->waiting, {}))
        finish(*tables, waiting, tables->has_data);
}

void expire(Tables *tables, Time now)
{
    std::erase_if(tables->waiting, [&](const Waiting &waiting) {
        if (waiting.until > now) return false;
        finish(*tables, waiting, false);
        return true;
    });
}

Time next_expiry(const Tables &tables)
{
    return tables.waiting.empty() ? never : tables.waiting.front().until;
}

} // namespace snmp
