// The transceiver's leaves over a module that is played behind ioctl().
#include <array>
#include <cerrno>
#include <cmath>
#include <cstdarg>
#include <cstdlib>
#include <cstring>
#include <numeric>
#include <span>

#include <gtest/gtest.h>
#include <linux/i2c-dev.h>
#include <linux/i2c.h>

#include "core/base/globals.h"
#include "fakes/platform.h"
#include "fakes/transcript.h"
#include "show/sfp_bus.h"
#include "show/transceiver.h"

namespace {

constexpr int every_second = -2, none = -1;
std::array<std::uint8_t, 256> a0, a2;
std::uint8_t pointer;
int failing = none; // transfer
int transfers;

struct Transceiver : testing::Test {
    void SetUp() override
    {
        a0 = a2 = {};
        g_logger_p = &g_logger;
        fakes::write_file("/dev/i2c-2", "");
        fakes::reset();
    }
};

using Provider = int (*)(confd_trans_ctx *, confd_hkeypath_t *);
constexpr Provider diagnostics = tarvo_show_transceiver_oper_status_get_elem;
constexpr Provider idprom = tarvo_show_transceiver_idprom_info_get_elem;

void ask(const std::string &what, Provider provider, const std::vector<std::uint32_t> &tags, int fail = none)
{
    fakes::record("== " + what);
    for (const std::uint32_t tag : tags) {
        failing = fail;
        transfers = 0;
        fakes::ask(provider, {{fakes::tag(tag)}});
    }
}

void put16(int at, int value) // into A2h
{
    const auto byte = static_cast<std::size_t>(at);
    a2[byte] = static_cast<std::uint8_t>(value >> 8);
    a2[byte + 1] = static_cast<std::uint8_t>(value);
}

const std::vector<std::uint32_t> readings = {1369685861, 450631388, 1123601225, 2000828587, 72726312, 7};
const std::vector<std::uint32_t> facts = {202559156, 1679844964, 820311737,  180862443,  335199302,  465193425,
                                          728439639, 447779376,  294542203,  850404072,  2023329977, 300239297,
                                          397036642, 188569195,  1702651198, 1853903884, 1863619942, 7};
const std::string no_transfers = "^i2c";

TEST_F(Transceiver, IsReadInTheDocumentedTransfers)
{
    std::iota(a0.begin(), a0.end(), 0);
    std::iota(a2.rbegin(), a2.rend(), 0);
    ask("temperature", diagnostics, {readings[0]});
    ask("identifier", idprom, {facts[0]});
    fakes::expect_recorded("show/sfp_transfers.txt");
    for (unsigned i = 0; i < sfp_info_size; ++i)
        EXPECT_EQ(g_sfp_info_data[i], i < 224 ? a0[i] : i < 480 ? a2[i - 224] : 0) << i;
}

TEST_F(Transceiver, IsAnsweredFromZerosWhenItCannotBeRead)
{
    a0.fill(0x10);
    a2.fill(1);
    for (const int transfer : {0, 1, 5, 7}) // readings, calibration constants and whether they are to be used
        ask("transfer " + std::to_string(transfer) + " fails", diagnostics, {readings[1]}, transfer);
    for (const int page : {0, 63})
        ask("page " + std::to_string(page) + " fails", idprom, {facts[0]}, page);
    EXPECT_EQ(std::count(std::begin(g_sfp_info_data), std::end(g_sfp_info_data), 0), 482);
    ask("every second transfer fails", diagnostics, readings, every_second);
    ask("every second transfer fails", idprom, facts, every_second);
    std::filesystem::remove("/dev/i2c-2");
    ask("no bus", diagnostics, readings);
    ask("no bus", idprom, {facts[4]});
    fakes::outcomes.reply = CONFD_ERR;
    ask("no bus and no reply", idprom, {7});
    fakes::expect_recorded("show/sfp_failures.txt", no_transfers);
}

TEST_F(Transceiver, SaysWhatTheIdPromHolds)
{
    const std::string phy_status = "/sys/bus/i2c/devices/i2c-0/0-0022/reg_phy_status";
    fakes::write_file(phy_status, "3ff\n");
    ask("zeros", idprom, facts);
    fakes::write_file(phy_status, "400\n");
    g_gig_media_type = 0;
    memcpy(&a0[20], "ACME OPTICS     \0\0\x1b\x0a", 20);
    memcpy(&a0[56], "A1  ", 4);
    memcpy(&a0[68], "S/N 0123456789AB261122", 22);
    memcpy(&a2[128], "FIRST TEXTSECOND   XTHIRD", 25);
    memcpy(&a2[192], "TWENTY CHARACTERS...X", 21);
    a0[0] = 3, a0[2] = 7, a0[3] = 0x10, a0[11] = 6, a0[12] = 103;
    ask("a module", idprom, facts);
    a0.fill(0xff);
    ask("ones", idprom, {facts.begin(), facts.begin() + 8});
    const auto names = [](const char *what, std::size_t leaf, std::size_t at, const std::vector<std::uint8_t> &values) {
        for (const std::uint8_t value : values) {
            a0[at] = value;
            ask(what + std::to_string(value), idprom, {facts[leaf]});
        }
    };
    names("identifier ", 0, 0, {4, 127, 128});
    names("connector ", 1, 2, {11, 12, 31, 32, 33, 34});
    names("compliance ", 2, 3, {8, 0x30, 128});
    names("encoding ", 3, 11, {1, 2, 5, 7});
    fakes::expect_recorded("show/sfp_idprom.txt", no_transfers);
}

// The formula of SFF-8472: reading x slope + offset, slopes in 1/256; cut towards 0 by less than a unit.
TEST_F(Transceiver, IsCalibratedByItsOwnConstants)
{
    // clang-format off
    const int cases[][3] = {{6528, 256, 0}, {-384, 256, 0}, {-385, 0x17f, -300}, {12000, 0x180, -77}, {30000, 0xff, 100},
                            {-32768, 256, 100}, {1, 0xfffc, -1}};
    // clang-format on
    for (const auto &[reading, slope, offset] : cases) {
        for (int i = 0; i < 4; ++i)
            put16(76 + 4 * i, slope + i), put16(78 + 4 * i, offset - i); // each pair another
        for (int at = 96; at < 106; at += 2)
            put16(at, reading);
        SfpDiag raw{}, diag{};
        a0[92] = 0x6f;
        ASSERT_EQ(sfp_read_diag(raw), 1);
        a0[92] = 0x10;
        ASSERT_EQ(sfp_read_diag(diag), 1);
        const int read[] = {raw.tx_bias, raw.tx_power, raw.temperature, raw.vcc};
        const int told[] = {diag.tx_bias, diag.tx_power, diag.temperature, diag.vcc};
        for (int i = 0; i < 4; ++i) {
            const double exact = read[i] * (slope + i) / 256.0 + offset - i;
            const double error = std::copysign(1, read[i]) * std::remainder(told[i] - exact, 65536);
            EXPECT_TRUE(error > -1 && error <= 0) << reading << " pair " << i;
        }
        EXPECT_TRUE(raw.temperature == static_cast<std::int16_t>(reading) && diag.rx_power == raw.rx_power);
    }
}

TEST_F(Transceiver, TellsItsReadings)
{
    for (const int raw : {0x1980, -1, -384, -32768}) {
        put16(96, raw);
        ask("temperature " + std::to_string(raw), diagnostics, {readings[0]});
    }
    put16(98, 33019), put16(100, 3333), put16(102, 5000), put16(104, 10000);
    ask("the others", diagnostics, {readings.begin() + 1, readings.end()});
    fakes::expect_recorded("show/sfp_readings.txt", no_transfers);
    SfpDiag diag{};
    for (diag.tx_power = 1; diag.tx_power != 0; ++diag.tx_power) {
        char text[sfp_text_size];
        ASSERT_TRUE(sfp_diag_text(diag, readings[3], text));
        const double dbm = 10 * std::log10(diag.tx_power * 1e-4);
        const double cut = std::copysign(1, dbm) * (dbm - strtod(text, nullptr)); // towards 0
        ASSERT_TRUE(cut > -1e-6 && cut < 0.1 + 1e-6) << diag.tx_power << " " << text;
    }
}

} // namespace

extern "C" int __wrap_ioctl(int /*fd*/, unsigned long request, ...)
{
    va_list arguments;
    va_start(arguments, request);
    const auto *data = va_arg(arguments, i2c_rdwr_ioctl_data *);
    va_end(arguments);
    const int number = transfers++;
    errno = ENXIO;
    if (request != I2C_RDWR || number == failing || (failing == every_second && number % 2 == 1)) return -1;
    std::string text = "i2c"; // "i2c 51@96 r8": at an offset; "i2c r4": where the module stands
    for (const i2c_msg &message : std::span(data->msgs, data->nmsgs)) {
        const bool read = (message.flags & I2C_M_RD) != 0;
        if (!read) pointer = message.buf[0];
        text += read ? " r" : message.addr == 0x50 ? " 50@" : " 51@";
        text += std::to_string(read || message.len != 1 ? message.len : pointer);
        for (unsigned i = 0; read && i < message.len; ++i)
            message.buf[i] = (message.addr == 0x50 ? a0 : a2)[pointer++];
    }
    fakes::record(text);
    return static_cast<int>(data->nmsgs);
}
