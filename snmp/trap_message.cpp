#include "snmp/trap_message.h"

#include "snmp/netsnmp.h"

namespace snmp {

namespace {

constexpr std::size_t max_text = 255; // of a DisplayString

// Below the enterprise number that RFC 5612 reserves for examples: notifications 0, objects 1, counters 2.
constexpr std::array<unsigned long, trap_oid_length> trap_oid(unsigned long number)
{
    return {1, 3, 6, 1, 4, 1, 32473, 1, 0, number};
}

constexpr std::array<unsigned long, object_oid_length> object_oid(unsigned long number)
{
    return {1, 3, 6, 1, 4, 1, 32473, 1, 1, number, 0};
}

constexpr TrapRow traps[] = {
    {"kvrInterfaceIpAddrChange", trap_oid(1)},
    {"kvrRebootReason",          trap_oid(2)},
};

constexpr ObjectRow objects[] = {
    {"kvrIfName",           ASN_OCTET_STR, object_oid(1)},
    {"kvrOldIpAddr",        ASN_OCTET_STR, object_oid(2)},
    {"kvrNewIpAddr",        ASN_OCTET_STR, object_oid(3)},
    {"kvrOldSubMask",       ASN_OCTET_STR, object_oid(4)},
    {"kvrNewSubMask",       ASN_OCTET_STR, object_oid(5)},
    {"kvrRebootReasonType", ASN_OCTET_STR, object_oid(6)},
};

template <typename Row, std::size_t n> const Row *find_row(const Row (&rows)[n], std::string_view name)
{
    for (const Row &row : rows)
        if (row.name == name) return &row;
    return nullptr;
}

} // namespace

TrapMessage translate(const proto::Event &event)
{
    TrapMessage message;
    message.trap = find_row(traps, event.name);
    for (const proto::Pair &pair : event.pairs) {
        const ObjectRow *object = find_row(objects, pair.name);
        if (object != nullptr) {
            message.bindings.push_back({object, pair.value.substr(0, max_text)});
        } else {
            message.unknown += (message.unknown.empty() ? "" : " ") + pair.name;
        }
    }
    return message;
}

std::array<unsigned long, object_oid_length> counter_oid(unsigned long number)
{
    return {1, 3, 6, 1, 4, 1, 32473, 1, 2, number, 0};
}

} // namespace snmp
