#include "lab/port_mappings.h"

#include <arpa/inet.h>

#include <charconv>
#include <cstdint>
#include <sstream>

namespace {

struct Mapping {
    std::uint16_t global_port = 0;
    std::uint16_t local_port = 0;
    std::string address;
    std::string protocol;
    std::uint32_t hits = 0;
};

template <typename Number> bool read_number(std::istream &words, Number &number)
{
    std::string word;
    words >> word;
    const auto [end, failure] = std::from_chars(word.data(), word.data() + word.size(), number);
    return failure == std::errc() && end == word.data() + word.size();
}

bool at_end(std::istream &words)
{
    return (words >> std::ws).eof();
}

bool is_address(const std::string &text)
{
    in_addr address{};
    return inet_pton(AF_INET, text.c_str(), &address) == 1;
}

bool is_protocol(std::string_view text)
{
    return text == "tcp" || text == "udp" || text == "both";
}

bool parse_rule(const std::string &line, Mapping &mapping)
{
    std::istringstream words(line);
    return read_number(words, mapping.global_port) && read_number(words, mapping.local_port) &&
           words >> mapping.address >> mapping.protocol && at_end(words) && mapping.global_port != 0 &&
           is_address(mapping.address) && is_protocol(mapping.protocol);
}

std::string listed(const Mapping &m)
{
    return std::to_string(m.global_port) + " " + m.protocol + " " + m.address + " " + std::to_string(m.local_port) +
           " " + std::to_string(m.hits) + "\n";
}

} // namespace

bool list_mappings(std::string_view rules, std::string &listing)
{
    std::string text = "port proto address dport hits\n";
    std::istringstream lines{std::string(rules)};
    for (std::string line; std::getline(lines, line);) {
        Mapping mapping;
        if (line.empty()) {
            continue;
        }
        if (!parse_rule(line, mapping)) {
            return false;
        }
        text += listed(mapping);
    }
    listing = text;
    return true;
}

bool hit_mappings(std::string_view hits, std::string &listing)
{
    std::istringstream words{std::string(hits)};
    std::uint16_t port = 0;
    std::uint32_t count = 1;
    if (!read_number(words, port) || (!at_end(words) && !read_number(words, count)) || !at_end(words)) {
        return false;
    }
    std::istringstream lines(listing);
    std::string text;
    bool found = false;
    for (std::string line; std::getline(lines, line);) {
        std::istringstream fields(line);
        Mapping m;
        if (fields >> m.global_port >> m.protocol >> m.address >> m.local_port >> m.hits && m.global_port == port) {
            m.hits += count;
            found = true;
            text += listed(m);
        } else {
            text += line + "\n"; // the header as well
        }
    }
    listing = text;
    return found;
}
