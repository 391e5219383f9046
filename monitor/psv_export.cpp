#include "monitor/psv_export.h"

void psv_stats_file_init()
{
    // not ready: no file is started until the export is there
}
