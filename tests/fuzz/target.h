// What fuzz targets share. A target is a check() that comes back whatever the input is, and the replaced files,
// commands or connections of what it checks.
#ifndef GW_FUZZ_TARGET_H
#define GW_FUZZ_TARGET_H

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

void check(std::string_view input); // the target's own

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    check({reinterpret_cast<const char *>(data), size});
    return 0;
}

inline void require(bool holds)
{
    if (!holds) abort();
}

// These take from the front of an input. At its end there are only zeros and empty texts.
inline std::string take(std::string_view *input, std::size_t size)
{
    std::string text(input->substr(0, size));
    input->remove_prefix(text.size());
    return text;
}

inline std::uint8_t take_byte(std::string_view *input)
{
    return static_cast<std::uint8_t>(take(input, 1).c_str()[0]);
}

// As many bytes as the two before them say, or as there are.
inline std::string take_sized(std::string_view *input)
{
    const std::size_t high = take_byte(input);
    return take(input, high * 256 + take_byte(input));
}

// As fgets() gives it: with its line break, unless the text ends before.
inline std::string take_line(std::string_view *input)
{
    return take(input, std::min(input->find('\n'), input->size()) + 1);
}

// The separator is taken as well, but is no part of the text.
inline std::string take_until(std::string_view *input, char separator)
{
    std::string text = take(input, input->find(separator));
    take(input, 1);
    return text;
}

inline FILE *file_of(std::string_view text)
{
    FILE *file = fmemopen(nullptr, text.size() + 1, "w+"); // a copy, and never of size 0
    fwrite(text.data(), 1, text.size(), file);
    rewind(file);
    return file;
}

// A folder in memory where there is one: a run replaces its files a thousand times a second.
struct Folder {
    std::string path = std::filesystem::is_directory("/dev/shm") ? "/dev/shm/gw-fuzz.XXXXXX" : "/tmp/gw-fuzz.XXXXXX";

    Folder() { require(mkdtemp(path.data()) != nullptr); }
    ~Folder() { std::filesystem::remove_all(path); }
    Folder(const Folder &) = delete;
    Folder &operator=(const Folder &) = delete;
};

#endif
