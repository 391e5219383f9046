#include "monitor/proc_net_dev.h"

#include <cstdlib>
#include <cstring>

namespace {

constexpr const char *blanks = " \t\n\v\f\r";

constexpr std::uint64_t IfStatSample::*columns[] = {
    &IfStatSample::rx_octets,
    &IfStatSample::rx_pkts,
    &IfStatSample::rx_errors,
    &IfStatSample::rx_drops,
    nullptr, // fifo
    nullptr, // frame
    nullptr, // compressed
    nullptr, // multicast
    &IfStatSample::tx_octets,
    &IfStatSample::tx_pkts,
    &IfStatSample::tx_errors,
    &IfStatSample::tx_drops,
    // Followed by fifo, collisions, carrier and compressed.
};

const char *end_of_word(const char *text)
{
    return text + strcspn(text, blanks);
}

const char *begin_of_word(const char *text)
{
    return text + strspn(text, blanks);
}

} // namespace

bool is_net_dev_line_of(const char *line, const char *device)
{
    const char *name = begin_of_word(line);
    const char *rest = begin_of_word(end_of_word(name));
    return *rest != '\0' && strncmp(name, device, strlen(device)) == 0;
}

void parse_net_dev_counters(const char *line, IfStatSample &sample)
{
    const char *text = end_of_word(begin_of_word(line));
    for (const auto column : columns) {
        char *end = nullptr;
        const std::uint64_t number = strtoull(text, &end, 10); // where there is none: 0, and no step ahead
        if (column != nullptr) sample.*column = number;
        text = end;
    }
}
