#include "cli/options.h"

#include <charconv>

namespace cli {

namespace {

constexpr OptionRow rows[] = {
    {"--json",            nullptr, opt_json,     "print JSON, one document per line"                        },
    {"--defaults",        nullptr, opt_defaults, "show values that are only defaults too"                   },
    {"--set",             nullptr, opt_set,      "print the configuration as set commands"                  },
    {"--replace",         nullptr, opt_replace,  "replace the configuration instead of merging"             },
    {"--accept-warnings", nullptr, opt_accept,   "commit although validation warns"                         },
    {"--count",           "N",     opt_count,    "end after N events or pictures"                           },
    {"--port",            "N",     opt_port,     "port of the agent on 127.0.0.1; command line only"        },
    {"--help",            nullptr, opt_help,     "print this, or the help of the command; command line only"},
    {"--version",         nullptr, opt_version,  "print the version; command line only"                     },
};

struct Given {
    std::string_view name;
    std::string_view value;
    bool has_value = false; // as in --port=4565
};

Given split_option(std::string_view word)
{
    const std::size_t equal = word.find('=');
    if (equal == std::string_view::npos) return {word, {}, false};
    return {word.substr(0, equal), word.substr(equal + 1), true};
}

const OptionRow *find_option(std::string_view name)
{
    for (const OptionRow &row : rows)
        if (name == row.name) return &row;
    return nullptr;
}

template <typename Number> bool take_number(std::string_view text, Number *out)
{
    const auto [end, fault] = std::from_chars(text.data(), text.data() + text.size(), *out);
    return fault == std::errc{} && end == text.data() + text.size() && *out > 0;
}

bool keep_value(const OptionRow &row, std::string_view value, Options *options, std::string *why)
{
    const bool ok = row.bit == opt_port ? take_number(value, &options->port) : take_number(value, &options->count);
    if (!ok) {
        *why = std::string(row.name) + " takes a number from 1" + (row.bit == opt_port ? " to 65535" : "") + ", not '" +
               std::string(value) + "'";
    }
    return ok;
}

// words[*at] is an option; *at moves to its value where that is a word of its own.
bool take_option(const std::vector<Word> &words, std::size_t *at, Options *options, std::string *why)
{
    Given given = split_option(words[*at].text);
    const OptionRow *row = find_option(given.name);
    if (row == nullptr) {
        *why = "unknown option " + std::string(given.name) + "; --help lists them";
        return false;
    }
    options->given |= row->bit;
    if (row->argument == nullptr) {
        if (given.has_value) *why = std::string(row->name) + " takes no value";
        return !given.has_value;
    }
    if (!given.has_value && *at + 1 < words.size()) given.value = words[++*at].text;
    return keep_value(*row, given.value, options, why);
}

} // namespace

std::span<const OptionRow> option_rows()
{
    return rows;
}

bool take_options(const std::vector<Word> &words, std::size_t from, Options *options, proto::Words *rest,
                  std::string *why)
{
    bool ended = false;
    for (std::size_t i = from; i < words.size(); i++) {
        const Word &word = words[i];
        if (ended || word.quoted || !word.text.starts_with("--")) {
            rest->push_back(word.text);
        } else if (word.text == "--") {
            ended = true;
        } else if (!take_option(words, &i, options, why)) {
            return false;
        }
    }
    return true;
}

std::string first_of(unsigned mask)
{
    for (const OptionRow &row : rows)
        if ((row.bit & mask) != 0) return row.name;
    return {};
}

} // namespace cli
