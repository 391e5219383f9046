// Lines of the data plane's table of forwarded ports.
#include <cstring>

#include "pat/pat_table.h"
#include "quiet.h"
#include "target.h"

void check(std::string_view input)
{
    for (std::uint8_t index = 1; index < pat_table_size && !input.empty(); index++)
        parse_line(index, take_line(&input).c_str());
    for (const PortMapEntry &mapping : pat_infos) {
        require(memchr(mapping.protocol, '\0', 8) != nullptr);
        require(memchr(mapping.dest_address, '\0', 16) != nullptr);
    }
}
