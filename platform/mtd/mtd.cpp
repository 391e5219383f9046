#include "mtd.h"

namespace {

constexpr MTD_U16 highest_port = 31;
constexpr unsigned register_bits = 16;

// IEEE 802.3 clause 45 registers of the PCS, whose device address is 3.
constexpr MTD_U16 pcs_mmd = 3;
constexpr MTD_U16 base_r_status_1 = 32;
constexpr MTD_U16 base_r_status_2 = 33;

bool is_field(MTD_U16 offset, MTD_U16 length)
{
    return length >= 1 && offset + length <= register_bits;
}

// `length` bits at bit `offset` of a register's content.
MTD_U16 field_of(MTD_U16 content, unsigned offset, unsigned length)
{
    return static_cast<MTD_U16>((content >> offset) & ((1U << length) - 1));
}

MTD_U16 with_field(MTD_U16 content, unsigned offset, unsigned length, MTD_U16 value)
{
    const unsigned mask = ((1U << length) - 1) << offset;
    return static_cast<MTD_U16>((content & ~mask) | ((static_cast<unsigned>(value) << offset) & mask));
}

} // namespace

MTD_STATUS mtdLoadDriver(mtd_read_mdio read, mtd_write_mdio write, int macsec_indirect, mtd_semaphore_call create,
                         mtd_semaphore_call destroy, mtd_semaphore_call take, mtd_semaphore_call give, MTD_U16 any_port,
                         MTD_DEV *dev)
{
    const bool has_semaphores = create != nullptr || destroy != nullptr || take != nullptr || give != nullptr;
    if (dev == nullptr || read == nullptr || write == nullptr) return MTD_FAIL;
    if (macsec_indirect != 0 || has_semaphores || any_port > highest_port) return MTD_FAIL;
    dev->read = read;
    dev->write = write;
    return MTD_OK;
}

MTD_STATUS mtdHwSetPhyRegField(MTD_DEV *dev, MTD_U16 port, MTD_U16 mmd, MTD_U16 reg, MTD_U16 offset, MTD_U16 length,
                               MTD_U16 value)
{
    if (!is_field(offset, length)) return MTD_FAIL;
    MTD_U16 content = 0;
    if (length < register_bits && dev->read(dev, port, mmd, reg, &content) != MTD_OK) return MTD_FAIL;
    return dev->write(dev, port, mmd, reg, with_field(content, offset, length, value));
}

MTD_STATUS mtdHwGetPhyRegField(MTD_DEV *dev, MTD_U16 port, MTD_U16 mmd, MTD_U16 reg, MTD_U16 offset, MTD_U16 length,
                               MTD_U16 *value)
{
    MTD_U16 content = 0;
    if (!is_field(offset, length) || dev->read(dev, port, mmd, reg, &content) != MTD_OK) return MTD_FAIL;
    *value = field_of(content, offset, length);
    return MTD_OK;
}

MTD_STATUS mtdGet10GBRStatus1(MTD_DEV *dev, MTD_U16 port, MTD_U16 side, MTD_U16 *block_lock, MTD_U16 *high_ber,
                              MTD_U16 *latched_block_lock, MTD_U16 *latched_high_ber, MTD_U16 *ber_count,
                              MTD_U16 *errored_blocks, MTD_U16 *link)
{
    if (side != MTD_LINE_SIDE) return MTD_FAIL;
    MTD_U16 now = 0;
    MTD_U16 latched = 0;
    if (dev->read(dev, port, pcs_mmd, base_r_status_1, &now) != MTD_OK) return MTD_FAIL;
    if (dev->read(dev, port, pcs_mmd, base_r_status_2, &latched) != MTD_OK) return MTD_FAIL;
    *block_lock = field_of(now, 0, 1);
    *high_ber = field_of(now, 1, 1);
    *link = field_of(now, 12, 1);
    *latched_block_lock = field_of(latched, 15, 1);
    *latched_high_ber = field_of(latched, 14, 1);
    *ber_count = field_of(latched, 8, 6);
    *errored_blocks = field_of(latched, 0, 8);
    return MTD_OK;
}
