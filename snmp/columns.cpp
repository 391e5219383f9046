#include "snmp/columns.h"

#include <algorithm>

namespace snmp {

namespace {

constexpr Column if_columns[] = {
    {"ifIndex",        1,  Syntax::integer    },
    {"ifDescr",        2,  Syntax::text       },
    {"ifType",         3,  Syntax::enumeration},
    {"ifMtu",          4,  Syntax::integer    },
    {"ifHighSpeed",    5,  Syntax::speed      },
    {"ifPhysAddress",  6,  Syntax::address    },
    {"ifAdminStatus",  7,  Syntax::enumeration},
    {"ifOperStatus",   8,  Syntax::enumeration},
    {"ifInOctets",     10, Syntax::counter    },
    {"ifInUcastPkts",  11, Syntax::counter    },
    {"ifInDiscards",   13, Syntax::counter    },
    {"ifInErrors",     14, Syntax::counter    },
    {"ifOutOctets",    16, Syntax::counter    },
    {"ifOutUcastPkts", 17, Syntax::counter    },
    {"ifOutDiscards",  19, Syntax::counter    },
    {"ifOutErrors",    20, Syntax::counter    },
};

constexpr Column if_x_columns[] = {
    {"ifName",               1,  Syntax::text     },
    {"ifInMulticastPkts",    2,  Syntax::counter  },
    {"ifInBroadcastPkts",    3,  Syntax::counter  },
    {"ifOutMulticastPkts",   4,  Syntax::counter  },
    {"ifOutBroadcastPkts",   5,  Syntax::counter  },
    {"ifHCInOctets",         6,  Syntax::counter64},
    {"ifHCInUcastPkts",      7,  Syntax::counter64},
    {"ifHCInMulticastPkts",  8,  Syntax::counter64},
    {"ifHCInBroadcastPkts",  9,  Syntax::counter64},
    {"ifHCOutOctets",        10, Syntax::counter64},
    {"ifHCOutUcastPkts",     11, Syntax::counter64},
    {"ifHCOutMulticastPkts", 12, Syntax::counter64},
    {"ifHCOutBroadcastPkts", 13, Syntax::counter64},
    {"ifHighSpeed",          15, Syntax::gauge    },
};

// What the order of a walk rests on.
static_assert(std::is_sorted(std::begin(if_columns), std::end(if_columns),
                             [](const Column &a, const Column &b) { return a.number < b.number; }));
static_assert(std::is_sorted(std::begin(if_x_columns), std::end(if_x_columns),
                             [](const Column &a, const Column &b) { return a.number < b.number; }));

} // namespace

std::span<const Column> if_table_columns()
{
    return if_columns;
}

std::span<const Column> if_x_table_columns()
{
    return if_x_columns;
}

} // namespace snmp
