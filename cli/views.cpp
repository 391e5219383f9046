#include "cli/view.h"

namespace cli {

namespace {

constexpr Column brief[] = {
    {"",             "Interface",   nullptr, Cell::entry},
    {"ipv4-address", "Address",     nullptr, Cell::text },
    {"ipv4-mask",    "Mask",        nullptr, Cell::text },
    {"admin-state",  "Admin",       nullptr, Cell::text },
    {"oper-state",   "Oper",        nullptr, Cell::text },
    {"media",        "Media",       nullptr, Cell::text },
    {"type-name",    "Type",        nullptr, Cell::text },
    {"description",  "Description", nullptr, Cell::text },
};

constexpr Column detail[] = {
    {"",                   "Interface",          nullptr,  Cell::entry },
    {"description",        "Description",        nullptr,  Cell::text  },
    {"type-name",          "Type",               nullptr,  Cell::text  },
    {"role",               "Role",               nullptr,  Cell::text  },
    {"admin-state",        "Admin state",        nullptr,  Cell::text  },
    {"oper-state",         "Oper state",         nullptr,  Cell::text  },
    {"media",              "Media",              nullptr,  Cell::text  },
    {"speed",              "Speed",              "Mbit/s", Cell::number},
    {"mtu",                "MTU",                "octets", Cell::number},
    {"hardware-address",   "Hardware address",   nullptr,  Cell::text  },
    {"ipv4-address",       "IPv4 address",       nullptr,  Cell::text  },
    {"ipv4-mask",          "IPv4 mask",          nullptr,  Cell::text  },
    {"ipv6-address",       "IPv6 address",       nullptr,  Cell::text  },
    {"ipv6-prefix-length", "IPv6 prefix length", nullptr,  Cell::number},
    {"rx-pkts",            "Received packets",   nullptr,  Cell::number},
    {"rx-octets",          "Received octets",    nullptr,  Cell::number},
    {"rx-pps",             "Receive rate",       "pkt/s",  Cell::number},
    {"rx-bps",             "Receive rate",       "bit/s",  Cell::number},
    {"rx-drops",           "Receive drops",      nullptr,  Cell::number},
    {"rx-errors",          "Receive errors",     nullptr,  Cell::number},
    {"tx-pkts",            "Sent packets",       nullptr,  Cell::number},
    {"tx-octets",          "Sent octets",        nullptr,  Cell::number},
    {"tx-pps",             "Send rate",          "pkt/s",  Cell::number},
    {"tx-bps",             "Send rate",          "bit/s",  Cell::number},
    {"tx-drops",           "Send drops",         nullptr,  Cell::number},
    {"tx-errors",          "Send errors",        nullptr,  Cell::number},
};

constexpr Column rates[] = {
    {"",           "Interface",  nullptr, Cell::entry },
    {"oper-state", "Oper",       nullptr, Cell::text  },
    {"rx-octets",  "In octets",  nullptr, Cell::number},
    {"rx-pps",     "In",         "pkt/s", Cell::number},
    {"rx-bps",     "In",         "bit/s", Cell::number},
    {"rx-drops",   "Drops",      nullptr, Cell::number},
    {"rx-errors",  "Errors",     nullptr, Cell::number},
    {"tx-octets",  "Out octets", nullptr, Cell::number},
    {"tx-pps",     "Out",        "pkt/s", Cell::number},
    {"tx-bps",     "Out",        "bit/s", Cell::number},
    {"tx-drops",   "Drops",      nullptr, Cell::number},
    {"tx-errors",  "Errors",     nullptr, Cell::number},
};

constexpr Column table_state[] = {
    {"if-name",         "Interface",    nullptr,  Cell::text  },
    {"af-type",         "Family",       nullptr,  Cell::text  },
    {"vpn-id",          "VPN",          nullptr,  Cell::number},
    {"if-index",        "Index",        nullptr,  Cell::number},
    {"if-type",         "Type",         nullptr,  Cell::text  },
    {"encapsulation",   "Encaps",       nullptr,  Cell::text  },
    {"if-admin-status", "Admin",        nullptr,  Cell::text  },
    {"if-oper-status",  "Oper",         nullptr,  Cell::text  },
    {"ip-address",      "IPv4 address", nullptr,  Cell::text  },
    {"ip6-address",     "IPv6 address", nullptr,  Cell::text  },
    {"if-hwaddr",       "Hardware",     nullptr,  Cell::text  },
    {"if-mtu",          "MTU",          nullptr,  Cell::number},
    {"speed",           "Speed",        "Mbit/s", Cell::number},
    {"duplex",          "Duplex",       nullptr,  Cell::text  },
    {"up-since",        "Up since",     nullptr,  Cell::text  },
    {"if-desc",         "Description",  nullptr,  Cell::text  },
};

constexpr Column table_traffic[] = {
    {"if-name",    "Interface",   nullptr,  Cell::text  },
    {"af-type",    "Family",      nullptr,  Cell::text  },
    {"in-pkts",    "In packets",  nullptr,  Cell::number},
    {"in-errors",  "Errors",      nullptr,  Cell::number},
    {"in-drops",   "Drops",       nullptr,  Cell::number},
    {"in-pps",     "In",          "pkt/s",  Cell::number},
    {"in-kbps",    "In",          "kbit/s", Cell::number},
    {"out-pkts",   "Out packets", nullptr,  Cell::number},
    {"out-errors", "Errors",      nullptr,  Cell::number},
    {"out-drops",  "Drops",       nullptr,  Cell::number},
    {"out-pps",    "Out",         "pkt/s",  Cell::number},
    {"out-kbps",   "Out",         "kbit/s", Cell::number},
};

constexpr Column binding[] = {
    {"client-address",  "Address",   nullptr, Cell::text    },
    {"mac-address",     "Hardware",  nullptr, Cell::text    },
    {"host-name",       "Host name", nullptr, Cell::text    },
    {"client-id",       "Client id", nullptr, Cell::text    },
    {"lease-remaining", "Remaining", nullptr, Cell::duration},
};

constexpr Column pool[] = {
    {"dhcp-subnet-prefix", "Subnet",         nullptr, Cell::text  },
    {"leases-in-use",      "Leases in use",  nullptr, Cell::number},
    {"free-addresses",     "Free addresses", nullptr, Cell::number},
};

constexpr Column mapping[] = {
    {"index",        "Index",       nullptr, Cell::number},
    {"protocol",     "Protocol",    nullptr, Cell::text  },
    {"global-port",  "Global port", nullptr, Cell::number},
    {"dest-address", "Destination", nullptr, Cell::text  },
    {"dest-port",    "Port",        nullptr, Cell::number},
    {"hits",         "Hits",        nullptr, Cell::number},
};

constexpr Column diagnostics[] = {
    {"temperature",    "Temperature",    "degrees Celsius", Cell::text},
    {"supply-voltage", "Supply voltage", "mV",              Cell::text},
    {"tx-bias",        "Transmit bias",  nullptr,           Cell::text},
    {"tx-power",       "Transmit power", "dBm",             Cell::text},
    {"rx-power",       "Receive power",  "dBm",             Cell::text},
};

constexpr Column idprom[] = {
    {"identifier",           "Identifier",    nullptr, Cell::text},
    {"connector",            "Connector",     nullptr, Cell::text},
    {"compliance",           "Compliance",    nullptr, Cell::text},
    {"encoding",             "Encoding",      nullptr, Cell::text},
    {"bit-rate",             "Bit rate",      nullptr, Cell::text},
    {"wavelength",           "Wavelength",    nullptr, Cell::text},
    {"link-length",          "Link length",   nullptr, Cell::text},
    {"vendor-name",          "Vendor",        nullptr, Cell::text},
    {"vendor-oui",           "Vendor OUI",    nullptr, Cell::text},
    {"vendor-revision",      "Revision",      nullptr, Cell::text},
    {"vendor-serial-number", "Serial number", nullptr, Cell::text},
    {"date-code",            "Date code",     nullptr, Cell::text},
    {"vendor-text-1",        "Vendor text 1", nullptr, Cell::text},
    {"vendor-text-2",        "Vendor text 2", nullptr, Cell::text},
    {"vendor-text-3",        "Vendor text 3", nullptr, Cell::text},
    {"phy-link",             "PHY link",      nullptr, Cell::text},
    {"sfp-port",             "SFP port",      nullptr, Cell::text},
};

constexpr Column if_number[] = {
    {"ifNumber", "Interfaces", nullptr, Cell::number},
};

constexpr Column if_state[] = {
    {"ifIndex",       "Index",       nullptr,  Cell::number},
    {"ifName",        "Name",        nullptr,  Cell::text  },
    {"ifType",        "Type",        nullptr,  Cell::text  },
    {"ifAdminStatus", "Admin",       nullptr,  Cell::text  },
    {"ifOperStatus",  "Oper",        nullptr,  Cell::text  },
    {"ifMtu",         "MTU",         nullptr,  Cell::number},
    {"ifHighSpeed",   "Speed",       "Mbit/s", Cell::number},
    {"ifPhysAddress", "Hardware",    nullptr,  Cell::octets},
    {"ifDescr",       "Description", nullptr,  Cell::text  },
};

constexpr Column if_traffic[] = {
    {"ifIndex",          "Index",       nullptr, Cell::number},
    {"ifHCInOctets",     "In octets",   nullptr, Cell::number},
    {"ifHCInUcastPkts",  "In unicast",  nullptr, Cell::number},
    {"ifInErrors",       "Errors",      nullptr, Cell::number},
    {"ifInDiscards",     "Discards",    nullptr, Cell::number},
    {"ifHCOutOctets",    "Out octets",  nullptr, Cell::number},
    {"ifHCOutUcastPkts", "Out unicast", nullptr, Cell::number},
    {"ifOutErrors",      "Errors",      nullptr, Cell::number},
    {"ifOutDiscards",    "Discards",    nullptr, Cell::number},
};

constexpr Section brief_sections[] = {
    {"interface-view/brief", nullptr, Layout::grid, brief},
};
constexpr Section detail_sections[] = {
    {"interface-view/detail", nullptr, Layout::blocks, detail},
};
constexpr Section rates_sections[] = {
    {"interface-view/detail", nullptr, Layout::grid, rates},
};
constexpr Section table_sections[] = {
    {"interface-table", "State",   Layout::grid, table_state  },
    {"interface-table", "Traffic", Layout::grid, table_traffic},
};
constexpr Section binding_sections[] = {
    {"dhcp-server", nullptr, Layout::grid, binding},
};
constexpr Section pool_sections[] = {
    {"dhcp-server/pool-statistics", nullptr, Layout::record, pool},
};
constexpr Section nat_sections[] = {
    {"port-forwarding", nullptr, Layout::grid, mapping},
};
constexpr Section transceiver_sections[] = {
    {"transceiver/diagnostics", "Diagnostics",    Layout::record, diagnostics},
    {"transceiver/idprom",      "Identification", Layout::record, idprom     },
};
constexpr Section snmp_sections[] = {
    {"if-mib/interfaces", nullptr,   Layout::record, if_number },
    {"if-mib",            "State",   Layout::grid,   if_state  },
    {"if-mib",            "Traffic", Layout::grid,   if_traffic},
};

} // namespace

constexpr View view_interface_brief = {
    {"interface-view", "brief"},
    brief_sections
};
constexpr View view_interface_detail = {
    {"interface-view", "detail"},
    detail_sections
};
constexpr View view_interface_rates = {
    {"interface-view", "detail"},
    rates_sections
};
constexpr View view_interface_table = {{"interface-table"}, table_sections};
constexpr View view_dhcp_binding = {
    {"dhcp-server", "binding"},
    binding_sections
};
constexpr View view_dhcp_pool = {
    {"dhcp-server", "pool-statistics"},
    pool_sections
};
constexpr View view_nat = {{"port-forwarding"}, nat_sections};
constexpr View view_transceiver = {{"transceiver"}, transceiver_sections};
constexpr View view_snmp_interfaces = {{"if-mib"}, snmp_sections};

} // namespace cli
