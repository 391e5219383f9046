// Diagnostics of an SFP module as SFF-8472 defines them: readings, external calibration, and their texts. Pure.
#ifndef GW_SHOW_SFP_DIAGNOSTICS_H
#define GW_SHOW_SFP_DIAGNOSTICS_H

#include <cstddef>
#include <cstdint>

inline constexpr std::size_t sfp_text_size = 64; // of a leaf's text, with the NUL

// Host byte order.
struct SfpDiag {
    std::int16_t temperature; // 1/256 degrees Celsius
    std::uint16_t vcc;        // 100 uV
    std::uint16_t tx_bias;    // 2 uA
    std::uint16_t tx_power;   // 0.1 uW
    std::uint16_t rx_power;   // 0.1 uW
};

inline constexpr std::size_t sfp_readings_size = 12;  // A2h 96 to 107
inline constexpr std::size_t sfp_constants_size = 36; // A2h 56 to 91

SfpDiag decode_sfp_diag(const std::uint8_t (&readings)[sfp_readings_size]);

// Slope and offset of temperature, supply voltage, bias and transmit power. Each result is cut to 16 bits. The receive
// power stays as it was read.
void calibrate_sfp_diag(SfpDiag &diag, const std::uint8_t (&constants)[sfp_constants_size]);

// False: the tag is none of the diagnostics leaves. Degrees Celsius and dBm with a sign and one decimal, millivolts.
bool sfp_diag_text(const SfpDiag &diag, std::uint32_t tag, char (&text)[sfp_text_size]);

#endif
