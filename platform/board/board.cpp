#include "board.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>

namespace {

constexpr const char *id_file = "/etc/board_id";

// Nothing but one number, white space around it allowed.
int parse_id(const char *text)
{
    char *end = nullptr;
    errno = 0;
    const long number = std::strtol(text, &end, 0);
    const bool rest_is_blank = end[0] == '\0' || end[0] == '\n';
    if (end == text || !rest_is_blank || errno != 0 || number < 0 || number > INT_MAX) return 0;
    return static_cast<int>(number);
}

} // namespace

int get_board_id(void)
{
    std::FILE *file = std::fopen(id_file, "re");
    if (!file) return 0;
    char line[32];
    const bool has_line = std::fgets(line, sizeof line, file) != nullptr;
    std::fclose(file);
    return has_line ? parse_id(line) : 0;
}
