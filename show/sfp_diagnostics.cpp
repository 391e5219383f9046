#include "show/sfp_diagnostics.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace {

enum : std::uint32_t {
    TAG_TEMPERATURE = 1369685861,
    TAG_VCC = 450631388,
    TAG_TX_BIAS = 1123601225,
    TAG_TX_POWER = 2000828587,
    TAG_RX_POWER = 72726312
};

// Where the pairs of slope and offset begin, from the first constant at A2h 56. What stands before is for the receive
// power.
enum : std::size_t { Tx_I = 20, Tx_PWR = 24, T = 28, V = 32 };

std::uint16_t big_endian16(const std::uint8_t *bytes)
{
    return static_cast<std::uint16_t>(bytes[0] << 8 | bytes[1]);
}

// The slope is 8.8 fixed point. Its two halves are multiplied apart, and the fraction's product is truncated toward 0.
int calibrated(int value, const std::uint8_t *pair)
{
    const int slope = big_endian16(pair);
    const int offset = static_cast<std::int16_t>(big_endian16(pair + 2));
    return value * (slope >> 8) + offset + (slope & 0xff) * value / 256;
}

char sign_of(int number)
{
    return number < 0 ? '-' : '+';
}

void temperature_text(int temperature, char (&text)[sfp_text_size])
{
    const int magnitude = abs(temperature);
    snprintf(text, sizeof text, "%c%d.%d", sign_of(temperature), magnitude >> 8, (magnitude & 0xff) * 10 / 256);
}

// dBm; a power of 0 has none and gets the floor of the scale, without the ending.
void power_text(std::uint16_t power, const char *ending, char (&text)[sfp_text_size])
{
    if (power == 0) {
        snprintf(text, sizeof text, "-40");
        return;
    }
    const auto milliwatts = static_cast<float>(power / 10000.0);
    const int tenths = static_cast<int>(100 * log10(static_cast<double>(milliwatts)));
    snprintf(text, sizeof text, "%c%d.%d%s", sign_of(tenths), abs(tenths / 10), abs(tenths % 10), ending);
}

} // namespace

SfpDiag decode_sfp_diag(const std::uint8_t (&readings)[sfp_readings_size])
{
    return {
        .temperature = static_cast<std::int16_t>(big_endian16(readings)),
        .vcc = big_endian16(readings + 2),
        .tx_bias = big_endian16(readings + 4),
        .tx_power = big_endian16(readings + 6),
        .rx_power = big_endian16(readings + 8),
    };
}

void calibrate_sfp_diag(SfpDiag &diag, const std::uint8_t (&constants)[sfp_constants_size])
{
    diag.temperature = static_cast<std::int16_t>(calibrated(diag.temperature, constants + T));
    diag.vcc = static_cast<std::uint16_t>(calibrated(diag.vcc, constants + V));
    diag.tx_bias = static_cast<std::uint16_t>(calibrated(diag.tx_bias, constants + Tx_I));
    diag.tx_power = static_cast<std::uint16_t>(calibrated(diag.tx_power, constants + Tx_PWR));
}

bool sfp_diag_text(const SfpDiag &diag, std::uint32_t tag, char (&text)[sfp_text_size])
{
    switch (tag) {
    case TAG_TEMPERATURE:
        temperature_text(diag.temperature, text);
        return true;
    case TAG_VCC:
        snprintf(text, sizeof text, "%u", diag.vcc / 10U);
        return true;
    case TAG_TX_BIAS:
        snprintf(text, sizeof text, "%u", static_cast<unsigned>(diag.tx_bias * 0.5));
        return true;
    case TAG_TX_POWER:
        power_text(diag.tx_power, "", text);
        return true;
    case TAG_RX_POWER:
        power_text(diag.rx_power, " ", text); // readers of this text know it with the blank
        return true;
    default:
        return false;
    }
}
