// 32-bit registers of the SoC by their physical address (a multiple of four), through /dev/mem.
#ifndef GW_MONITOR_DEVMEM_H
#define GW_MONITOR_DEVMEM_H

#include <cstdint>

// 1, or 0 after logging why.
int devmem_read32(std::uint32_t address, std::uint32_t *value);
int devmem_write32(std::uint32_t address, std::uint32_t value);

#endif
