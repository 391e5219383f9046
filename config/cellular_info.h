// What the operational database says about the cellular link, and what the data plane makes of it. Main thread.
#ifndef GW_CONFIG_CELLULAR_INFO_H
#define GW_CONFIG_CELLULAR_INFO_H

#include <cstdint>

// Dotted text, empty where there is no value.
struct CellularInfo {
    char ip_addr[47];
    char netmask[17];
    char gateway[47];
    char dns1[47];
    char dns2[47];
    std::int32_t extra; // the session script's last argument; always 0
};

// 0, also when values are missing; 1 without a session, when the record stays as it was.
int tarvo_get_cellular_info(CellularInfo &info);

int count_route_table_lines(); // of the data plane's route table; 0 when it cannot be read

#endif
