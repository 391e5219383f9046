// What an SFP module says about itself in its ID PROM: SFF-8472, with the code values of SFF-8024. Pure.
#ifndef GW_SHOW_SFP_IDPROM_H
#define GW_SHOW_SFP_IDPROM_H

#include <cstddef>
#include <cstdint>

#include "show/sfp_diagnostics.h"

inline constexpr std::size_t sfp_page_size = 256;
inline constexpr std::size_t sfp_a0_kept = 224;   // bytes of A0h in an image; all of A2h follow
inline constexpr std::size_t sfp_info_size = 482; // of an image; the last two bytes stay 0

// False: the tag is none of the leaves that the image answers. A text field is copied as it is, blanks included, up to
// its first NUL.
bool sfp_idprom_text(const std::uint8_t (&image)[sfp_info_size], std::uint32_t tag, char (&text)[sfp_text_size]);

#endif
