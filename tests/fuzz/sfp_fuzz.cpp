// An SFP module with any memory: its ID PROM image and its diagnostics become printable texts that end. The input is
// the image; readings and calibration constants are taken from where they stand in it.
#include <cstring>

#include "show/sfp_diagnostics.h"
#include "show/sfp_idprom.h"
#include "target.h"

namespace {

constexpr std::size_t a2 = sfp_a0_kept;

constexpr std::uint32_t idprom_tags[] = {202559156,  1679844964, 820311737, 180862443, 335199302,
                                         465193425,  728439639,  447779376, 294542203, 850404072,
                                         2023329977, 300239297,  397036642, 188569195, 1702651198};
constexpr std::uint32_t diagnostics_tags[] = {1369685861, 450631388, 1123601225, 2000828587, 72726312};

using Text = char[sfp_text_size];

void check_diagnostics(const SfpDiag &diag)
{
    for (const std::uint32_t tag : diagnostics_tags) {
        Text text;
        require(sfp_diag_text(diag, tag, text) && memchr(text, '\0', sizeof text) != nullptr);
        require(strspn(text, "+-.0123456789 ") == strlen(text));
    }
}

} // namespace

void check(std::string_view input)
{
    std::uint8_t image[sfp_info_size] = {};
    input.copy(reinterpret_cast<char *>(image), sizeof image);
    for (const std::uint32_t tag : idprom_tags) {
        Text text;
        require(sfp_idprom_text(image, tag, text) && memchr(text, '\0', sizeof text) != nullptr);
    }
    std::uint8_t readings[sfp_readings_size];
    std::uint8_t constants[sfp_constants_size];
    std::copy_n(image + a2 + 96, sizeof readings, readings);
    std::copy_n(image + a2 + 56, sizeof constants, constants);
    SfpDiag diag = decode_sfp_diag(readings);
    check_diagnostics(diag);
    calibrate_sfp_diag(diag, constants);
    check_diagnostics(diag);
}
