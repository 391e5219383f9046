// Lines of the data plane's table of forwarded ports.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "core/base/log.h"
#include "pat/pat_table.h"

// Instead of the daemon's: every line is traced.
void log_trace(int /*level*/, TracePoint /*point*/, const char * /*format*/, ...) {}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::string text(reinterpret_cast<const char *>(data), size);
    std::size_t start = 0;
    for (std::uint8_t index = 1; index < pat_table_size && start < size; index++) {
        const std::size_t end = std::min(text.find('\n', start), size - 1) + 1;
        parse_line(index, text.substr(start, end - start).c_str());
        start = end;
    }
    for (const PortMapEntry &mapping : pat_infos) {
        if (std::string_view(mapping.protocol, 8).find('\0') == std::string_view::npos) abort();
        if (std::string_view(mapping.dest_address, 16).find('\0') == std::string_view::npos) abort();
    }
    return 0;
}
