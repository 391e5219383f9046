// The kernel's table of devices, line by line.
#include "monitor/proc_net_dev.h"
#include "target.h"

void check(std::string_view input)
{
    while (!input.empty()) {
        const std::string line = take_until(&input, '\n');
        IfStatSample sample{};
        sample.rx_pps = sample.rx_bps = sample.tx_pps = sample.tx_bps = 7;
        parse_net_dev_counters(line.c_str(), sample);
        require(sample.rx_pps == 7 && sample.rx_bps == 7 && sample.tx_pps == 7 && sample.tx_bps == 7);
        require(!is_net_dev_line_of(line.c_str(), "wired0") || line.find("wired0") != std::string::npos);
    }
}
