#include "monitor/monitor_loop.h"

void *tarvo_monitor_interface(void * /*daemon*/)
{
    return nullptr; // not ready: ends at once until the loop is there
}
