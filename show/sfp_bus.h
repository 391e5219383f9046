// The SFP module on its I2C bus, at the two-wire addresses of SFF-8472: A0h (identification) and A2h (diagnostics).
//
// Nothing is kept: each call opens the bus and asks the module. All return 1, or 0 after logging which step failed; a
// buffer may then be partly filled.
#ifndef GW_SHOW_SFP_BUS_H
#define GW_SHOW_SFP_BUS_H

#include <cstddef>
#include <cstdint>

#include "show/sfp_diagnostics.h"
#include "show/sfp_idprom.h"

enum SfpAddress : std::uint8_t { sfp_a0 = 0x50, sfp_a2 = 0x51 }; // without the direction bit

// One message of one offset byte, then reads of at most 8 bytes that continue where the module stands.
int sfp_i2c_read(SfpAddress address, std::uint8_t offset, std::uint8_t *buffer, std::size_t length);

// From `start` to the end of the page, each `step` bytes with an offset of their own. The buffer holds whole steps.
int sfp_read_page(SfpAddress address, std::uint8_t start, std::uint8_t *buffer, std::uint8_t step);

int sfp_read_idprom(std::uint8_t (&image)[sfp_info_size]);

// Calibrated if the module leaves that to the host. `diag` stays as it is on failure.
int sfp_read_diag(SfpDiag &diag);

// 0 also when the module does not say.
int sfp_ext_calibrated();

#endif
