#include "snmp/trap_sender.h"

#include <cstdlib>
#include <string>

#include "service/log.h"
#include "snmp/netsnmp.h"
#include "snmp/trap_message.h"

namespace snmp {

namespace {

constexpr oid sys_up_time[] = {1, 3, 6, 1, 2, 1, 1, 3, 0};
constexpr oid snmp_trap_oid[] = {1, 3, 6, 1, 6, 3, 1, 1, 4, 1, 0};

struct CounterRow {
    const char *name;
    unsigned long number; // in the module
    unsigned long TrapCounters::*counter;
};

constexpr CounterRow counter_rows[] = {
    {"gwTrapsSent",           1, &TrapCounters::sent            },
    {"gwTrapsFailed",         2, &TrapCounters::failed          },
    {"gwTrapsWithoutTarget",  3, &TrapCounters::without_target  },
    {"gwTrapsUnknown",        4, &TrapCounters::unknown_traps   },
    {"gwTrapBindingsUnknown", 5, &TrapCounters::unknown_bindings},
};

// A session of net-snmp's single-session interface; not in the list that the loop reads.
struct Session {
    Session() = default;
    Session(const Session &) = delete;
    Session &operator=(const Session &) = delete;
    ~Session()
    {
        if (handle != nullptr) snmp_sess_close(handle);
    }

    void *handle = nullptr;
};

// The address is a literal: nothing is looked up.
std::string transport_of(const Target &target)
{
    const bool v6 = target.address.find(':') != std::string::npos;
    return (v6 ? "udp6:[" + target.address + "]" : "udp:" + target.address) + ":" + std::to_string(target.port);
}

netsnmp_pdu *make_pdu(const TrapMessage &message)
{
    netsnmp_pdu *pdu = snmp_pdu_create(SNMP_MSG_TRAP2);
    if (pdu == nullptr) return nullptr;
    const u_long up_time = netsnmp_get_agent_uptime();
    snmp_pdu_add_variable(pdu, sys_up_time, OID_LENGTH(sys_up_time), ASN_TIMETICKS, &up_time, sizeof up_time);
    snmp_pdu_add_variable(pdu, snmp_trap_oid, OID_LENGTH(snmp_trap_oid), ASN_OBJECT_ID, message.trap->oid.data(),
                          message.trap->oid.size() * sizeof(oid));
    for (const Binding &binding : message.bindings) {
        snmp_pdu_add_variable(pdu, binding.object->oid.data(), binding.object->oid.size(), binding.object->type,
                              binding.text.data(), binding.text.size());
    }
    return pdu;
}

// What the library says about its last failure.
std::string fault_of(netsnmp_session *session, void *handle)
{
    char *text = nullptr;
    if (handle != nullptr) {
        snmp_sess_error(handle, nullptr, nullptr, &text);
    } else {
        snmp_error(session, nullptr, nullptr, &text);
    }
    std::string fault = text != nullptr ? text : "unknown";
    std::free(text);
    return fault;
}

// Empty when the system took it.
std::string send_to(const Target &target, const TrapMessage &message)
{
    netsnmp_session settings;
    snmp_sess_init(&settings);
    std::string community = target.community;
    settings.version = SNMP_VERSION_2c;
    settings.community = reinterpret_cast<u_char *>(community.data());
    settings.community_len = community.size();
    settings.flags |= SNMP_FLAGS_DONT_PROBE;
    netsnmp_transport *transport = netsnmp_transport_open_client("snmptrap", transport_of(target).c_str());
    if (transport == nullptr) return "cannot open a socket: " + std::string(strerror(errno));
    Session session;
    session.handle = snmp_sess_add(&settings, transport, nullptr, nullptr); // takes the transport, or frees it
    if (session.handle == nullptr) return fault_of(&settings, nullptr);
    netsnmp_pdu *pdu = make_pdu(message);
    if (pdu != nullptr && snmp_sess_send(session.handle, pdu) != 0) return {};
    snmp_free_pdu(pdu);
    return fault_of(nullptr, session.handle);
}

} // namespace

bool register_trap_counters(TrapCounters *counters)
{
    for (const CounterRow &row : counter_rows) {
        const auto name = counter_oid(row.number);
        if (netsnmp_register_read_only_counter32_instance(row.name, name.data(), name.size(), &(counters->*row.counter),
                                                          nullptr) != SNMPERR_SUCCESS) {
            return false;
        }
    }
    return true;
}

void send_trap(const proto::Event &event, const std::vector<Target> &targets, TrapCounters *counters)
{
    const TrapMessage message = translate(event);
    const char *name = event.name.c_str();
    if (message.trap == nullptr) {
        service::log(LOG_WARNING, "trap %s has no identifier and is not sent; %lu so far", name,
                     ++counters->unknown_traps);
        return;
    }
    if (!message.unknown.empty()) {
        counters->unknown_bindings += event.pairs.size() - message.bindings.size();
        service::log(LOG_WARNING, "trap %s goes without %s, which have no identifier; %lu so far", name,
                     message.unknown.c_str(), counters->unknown_bindings);
    }
    if (targets.empty()) {
        service::log(LOG_WARNING, "trap %s has nowhere to go: no target is configured; %lu so far", name,
                     ++counters->without_target);
    }
    for (const Target &target : targets) {
        const std::string fault = send_to(target, message);
        if (fault.empty()) {
            counters->sent++;
            service::log(LOG_INFO, "trap %s sent to %s port %u", name, target.address.c_str(), target.port);
        } else {
            service::log(LOG_WARNING, "trap %s not sent to %s port %u: %s; %lu so far", name, target.address.c_str(),
                         target.port, fault.c_str(), ++counters->failed);
        }
    }
}

} // namespace snmp
