// The options, each a row of one table that also makes the help and the completion.
#ifndef GW_CLI_OPTIONS_H
#define GW_CLI_OPTIONS_H

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "cli/words.h"

namespace cli {

inline constexpr unsigned opt_json = 1U << 0;
inline constexpr unsigned opt_port = 1U << 1;
inline constexpr unsigned opt_help = 1U << 2;
inline constexpr unsigned opt_version = 1U << 3;
inline constexpr unsigned opt_defaults = 1U << 4;
inline constexpr unsigned opt_set = 1U << 5;
inline constexpr unsigned opt_replace = 1U << 6;
inline constexpr unsigned opt_accept = 1U << 7;
inline constexpr unsigned opt_count = 1U << 8;

struct OptionRow {
    const char *name;
    const char *argument; // null where it has none
    unsigned bit;
    const char *help;
};

std::span<const OptionRow> option_rows();

struct Options {
    unsigned given = 0;
    std::uint16_t port = 0;
    std::uint32_t count = 0;
};

inline bool has(const Options &options, unsigned bit)
{
    return (options.given & bit) != 0;
}

// Takes the options out of words[from...]; what follows a "--" and what is quoted is none. False with *why.
bool take_options(const std::vector<Word> &words, std::size_t from, Options *options, proto::Words *rest,
                  std::string *why);

// Names of the options in the mask that are not allowed, "" when there are none.
std::string first_of(unsigned mask);

} // namespace cli

#endif
