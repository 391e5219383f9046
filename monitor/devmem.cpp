#include "monitor/devmem.h"

#include <cstddef>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include "core/base/handles.h"
#include "core/base/log.h"

namespace {

constexpr std::size_t reach = 32; // bytes from the address on that must be mapped

struct Window {
    std::byte *start;
    std::size_t size;   // one page or two
    std::size_t offset; // of the register
};

// Synchronous: the accesses bypass the cache.
int open_memory(int access)
{
    const int fd = open("/dev/mem", access | O_SYNC | O_CLOEXEC);
    if (fd < 0) log_guarded(LOG_ERR, "Failed to open MEM device");
    return fd;
}

bool map_register(int fd, std::uint32_t address, int protection, Window *window)
{
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    window->offset = address & (page - 1);
    window->size = window->offset + reach > page ? 2 * page : page;
    const auto start = static_cast<off_t>(address & ~(page - 1));
    void *mapped = mmap(nullptr, window->size, protection, MAP_SHARED, fd, start);
    if (mapped == MAP_FAILED) {
        log_guarded(LOG_ERR, "Failed to map in virtual address space");
        return false;
    }
    window->start = static_cast<std::byte *>(mapped);
    return true;
}

volatile std::uint32_t *register_in(const Window &window)
{
    return reinterpret_cast<volatile std::uint32_t *>(window.start + window.offset);
}

int unmap(const Window &window)
{
    if (munmap(window.start, window.size) == 0) return 1;
    log_guarded(LOG_ERR, "Failed to munmap");
    return 0;
}

} // namespace

int devmem_read32(std::uint32_t address, std::uint32_t *value)
{
    Window window{};
    const Descriptor memory(open_memory(O_RDONLY));
    if (memory.fd < 0 || !map_register(memory.fd, address, PROT_READ, &window)) return 0;
    *value = *register_in(window);
    return unmap(window);
}

int devmem_write32(std::uint32_t address, std::uint32_t value)
{
    Window window{};
    const Descriptor memory(open_memory(O_RDWR));
    if (memory.fd < 0 || !map_register(memory.fd, address, PROT_READ | PROT_WRITE, &window)) return 0;
    *register_in(window) = value;
    return unmap(window);
}
