// Feeds every file of a folder to a fuzz target, so that what was once found stays found without libFuzzer.
#include <cstdint>
#include <cstdio>

#include "fakes/files.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size);

int main(int argc, char **argv)
{
    if (argc != 2 || !std::filesystem::is_directory(argv[1])) {
        std::fprintf(stderr, "usage: %s CORPUS-FOLDER\n", argv[0]);
        return 2;
    }
    int files = 0;
    for (const auto &entry : std::filesystem::directory_iterator(argv[1])) {
        const std::string bytes = fakes::read_file(entry.path());
        LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t *>(bytes.data()), bytes.size());
        files++;
    }
    std::printf("%d inputs replayed\n", files);
    return files > 0 ? 0 : 1;
}
