#ifndef GW_FAKES_FILES_H
#define GW_FAKES_FILES_H

#include <cstddef>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace fakes {

// Makes the folders on the way as well.
inline void write_file(const std::string &path, const std::string &text)
{
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream(path, std::ios::trunc) << text;
}

inline std::string read_file(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

inline std::ptrdiff_t open_descriptors()
{
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), std::filesystem::directory_iterator());
}

} // namespace fakes

#endif
