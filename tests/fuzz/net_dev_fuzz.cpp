// The kernel's table of devices, line by line.
#include <cstdlib>
#include <sstream>

#include "monitor/proc_net_dev.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    std::istringstream table(std::string(reinterpret_cast<const char *>(data), size));
    for (std::string line; std::getline(table, line);) {
        IfStatSample sample{};
        sample.rx_pps = sample.rx_bps = sample.tx_pps = sample.tx_bps = 7;
        parse_net_dev_counters(line.c_str(), sample);
        if (sample.rx_pps != 7 || sample.rx_bps != 7 || sample.tx_pps != 7 || sample.tx_bps != 7) abort();
        if (is_net_dev_line_of(line.c_str(), "wired0") && line.find("wired0") == std::string::npos) abort();
    }
    return 0;
}
