#include "show/sfp_bus.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <linux/i2c-dev.h>
#include <linux/i2c.h>
#include <safe_mem_lib.h>
#include <sys/ioctl.h>

#include "core/base/handles.h"
#include "core/base/log.h"

namespace {

constexpr const char *bus_path = "/dev/i2c-2";
constexpr std::size_t transfer_size = 8; // bytes that one message reads at most
constexpr std::uint8_t externally_calibrated = 0x10;

enum : std::uint8_t { A0_DIAGNOSTIC_TYPE = 92, A2_CONSTANTS = 56, A2_READINGS = 96 };

bool transfer(const Descriptor &bus, i2c_msg *messages, unsigned count)
{
    i2c_rdwr_ioctl_data request{messages, count};
    return ioctl(bus.fd, I2C_RDWR, &request) >= 0;
}

i2c_msg read_message(SfpAddress address, std::uint8_t *buffer, std::size_t length)
{
    return {address, I2C_M_RD, static_cast<std::uint16_t>(length), buffer};
}

bool read_at(const Descriptor &bus, SfpAddress address, std::uint8_t offset, std::uint8_t *buffer, std::size_t length)
{
    i2c_msg messages[] = {
        {address, 0, 1, &offset},
        read_message(address, buffer, length)
    };
    if (transfer(bus, messages, 2)) return true;
    log_guarded(LOG_ERR, "SFP XCVR i2c read: ioctl failed: errno: %d\n", errno);
    return false;
}

bool read_on(const Descriptor &bus, SfpAddress address, std::uint8_t *buffer, std::size_t length)
{
    i2c_msg message = read_message(address, buffer, length);
    if (transfer(bus, &message, 1)) return true;
    log_guarded(LOG_ERR, "XCVR i2c read: i2c read failed\n");
    return false;
}

bool read_block(SfpAddress address, std::uint8_t offset, std::uint8_t *buffer, std::size_t length)
{
    if (sfp_i2c_read(address, offset, buffer, length) != 0) return true;
    log_guarded(LOG_ERR, "SFP XCVR i2c read: failed Target not responding");
    return false;
}

} // namespace

int sfp_i2c_read(SfpAddress address, std::uint8_t offset, std::uint8_t *buffer, std::size_t length)
{
    const Descriptor bus(open(bus_path, O_RDWR | O_CLOEXEC));
    if (bus.fd < 0) {
        log_guarded(LOG_ERR, "SFP XCVR i2c read: i2c open failed\n");
        return 0;
    }
    std::size_t done = std::min(length, transfer_size);
    if (!read_at(bus, address, offset, buffer, done)) return 0;
    while (done < length) {
        const std::size_t size = std::min(length - done, transfer_size);
        if (!read_on(bus, address, buffer + done, size)) return 0;
        done += size;
    }
    return 1;
}

int sfp_read_page(SfpAddress address, std::uint8_t start, std::uint8_t *buffer, std::uint8_t step)
{
    for (unsigned offset = start; offset < sfp_page_size; offset += step) {
        if (!read_block(address, static_cast<std::uint8_t>(offset), buffer + (offset - start), step)) return 0;
    }
    return 1;
}

int sfp_read_idprom(std::uint8_t (&image)[sfp_info_size])
{
    std::uint8_t page[sfp_page_size] = {};
    if (sfp_read_page(sfp_a0, 0, page, transfer_size) == 0) return 0;
    memcpy_s(image, sizeof image, page, sfp_a0_kept);
    memset_s(page, sizeof page, 0, sizeof page);
    if (sfp_read_page(sfp_a2, 0, page, transfer_size) == 0) return 0;
    memcpy_s(image + sfp_a0_kept, sizeof image - sfp_a0_kept, page, sizeof page);
    return 1;
}

int sfp_read_diag(SfpDiag &diag)
{
    std::uint8_t readings[sfp_readings_size];
    std::uint8_t constants[sfp_constants_size];
    if (!read_block(sfp_a2, A2_READINGS, readings, sizeof readings)) return 0;
    if (!read_block(sfp_a2, A2_CONSTANTS, constants, sizeof constants)) return 0;
    diag = decode_sfp_diag(readings);
    if (sfp_ext_calibrated() != 0) calibrate_sfp_diag(diag, constants);
    return 1;
}

int sfp_ext_calibrated()
{
    std::uint8_t type = 0;
    if (sfp_i2c_read(sfp_a0, A0_DIAGNOSTIC_TYPE, &type, 1) == 0) {
        log_guarded(LOG_ERR, "SFP XCVR FPGA i2c read: failed Target not responding");
        return 0;
    }
    return (type & externally_calibrated) != 0 ? 1 : 0;
}
