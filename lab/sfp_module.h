// A simulated SFP module: two pages of memory behind one address pointer (SFF-8472).
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>

struct SfpModule {
    bool present = false;
    std::array<std::array<std::uint8_t, 256>, 2> pages{}; // A0h, A2h
    std::uint8_t pointer = 0;                             // shared by the pages
    unsigned fail_every = 0;                              // 0: never; else each n-th transfer fails
    unsigned transfers = 0;
};

// A module from its text; README.md has the format. Lines that say something else count as absent.
SfpModule parse_module(const std::string &text);

// Begins a transfer of one or more messages: 0 or the negative errno it fails with.
int begin_transfer(SfpModule &module);

// One message of a transfer. Reads fill `bytes` from the pointer on; a write is one byte, the new pointer. 0 or the
// negative errno.
int read_bytes(SfpModule &module, unsigned address, std::span<std::uint8_t> bytes);
int write_bytes(SfpModule &module, unsigned address, std::span<const std::uint8_t> bytes);
