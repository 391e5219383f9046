#include "monitor/psv_export.h"

void psv_stats_file_init()
{
    // not ready: no file is started until the export is there
}

void write_psv_if_stats(bool /*last_row*/, const char * /*device*/, const IfStatSample * /*sample*/) {}
