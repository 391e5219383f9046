#include "lab/sfp_module.h"

#include <cerrno>
#include <sstream>

namespace {

constexpr unsigned first_address = 0x50;

bool answers(const SfpModule &module, unsigned address)
{
    return module.present && address >= first_address && address - first_address < module.pages.size();
}

// Bytes in hexadecimal, or one text in quotes. What does not fit into the page is dropped.
void put_bytes(std::array<std::uint8_t, 256> &page, std::size_t at, const std::string &rest)
{
    const std::size_t open = rest.find('"');
    if (open != std::string::npos) {
        for (std::size_t i = open + 1; i < rest.size() && rest[i] != '"' && at < page.size(); i++, at++)
            page[at] = static_cast<std::uint8_t>(rest[i]);
        return;
    }
    std::istringstream words(rest.substr(0, rest.find('#')));
    for (unsigned byte = 0; at < page.size() && words >> std::hex >> byte; at++)
        page[at] = static_cast<std::uint8_t>(byte);
}

void take_line(SfpModule &module, const std::string &line)
{
    std::istringstream words(line);
    std::string what;
    std::string rest;
    std::size_t number = 0;
    if (!(words >> what >> number)) return;
    std::getline(words, rest);
    if (what == "a0") put_bytes(module.pages[0], number, rest);
    if (what == "a2") put_bytes(module.pages[1], number, rest);
    if (what == "fail-every") module.fail_every = static_cast<unsigned>(number);
}

} // namespace

SfpModule parse_module(const std::string &text)
{
    SfpModule module;
    module.present = true;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);)
        take_line(module, line);
    return module;
}

int begin_transfer(SfpModule &module)
{
    module.transfers++;
    const bool fails = module.fail_every != 0 && module.transfers % module.fail_every == 0;
    return module.present && !fails ? 0 : -ENXIO;
}

int read_bytes(SfpModule &module, unsigned address, std::span<std::uint8_t> bytes)
{
    if (!answers(module, address)) return -ENXIO;
    for (std::uint8_t &byte : bytes)
        byte = module.pages[address - first_address][module.pointer++];
    return 0;
}

int write_bytes(SfpModule &module, unsigned address, std::span<const std::uint8_t> bytes)
{
    if (!answers(module, address)) return -ENXIO;
    if (bytes.size() != 1) return -EIO; // the memory is write-protected
    module.pointer = bytes[0];
    return 0;
}
