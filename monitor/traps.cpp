#include "monitor/traps.h"

// Not ready: nothing is reported yet.
int tarvo_trap_read_ip_from_click(const char * /*element*/, char * /*ip*/, char * /*mask*/)
{
    return -1;
}

void send_ip_change_trap(const char * /*if_name*/, const char * /*old_ip*/, const char * /*new_ip*/,
                         const char * /*old_mask*/, const char * /*new_mask*/)
{}

void send_reboot_reason_trap(const char * /*reason*/) {}

void notify_dhcp_config_change() {}
