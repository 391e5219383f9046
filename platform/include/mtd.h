/*
 * The PHY driver interface: register access of a 10GBASE-R PHY over clause 45 MDIO (IEEE 802.3), through callbacks that
 * the application registers.
 */
#ifndef GW_PLATFORM_MTD_H
#define GW_PLATFORM_MTD_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef uint16_t MTD_U16;
typedef int MTD_STATUS;
enum { MTD_OK = 0, MTD_FAIL = 1 };
enum { MTD_LINE_SIDE = 3 };

struct MTD_DEV_;
typedef struct MTD_DEV_ MTD_DEV;

typedef MTD_STATUS (*mtd_read_mdio)(MTD_DEV *dev, MTD_U16 port, MTD_U16 mmd, MTD_U16 reg, MTD_U16 *value);
typedef MTD_STATUS (*mtd_write_mdio)(MTD_DEV *dev, MTD_U16 port, MTD_U16 mmd, MTD_U16 reg, MTD_U16 value);
typedef void *mtd_semaphore_call;

/* Zero-filled by the caller before mtdLoadDriver. */
struct MTD_DEV_ {
    mtd_read_mdio read;
    mtd_write_mdio write;
    void *app_data;
};

/* Registers the callbacks in `dev`; nothing is read or written yet. Refused: a missing callback or device, a port above
 * 31, indirect MACsec access, and semaphores (a device belongs to one thread). */
MTD_STATUS mtdLoadDriver(mtd_read_mdio read, mtd_write_mdio write, int macsec_indirect, mtd_semaphore_call create,
                         mtd_semaphore_call destroy, mtd_semaphore_call take, mtd_semaphore_call give, MTD_U16 any_port,
                         MTD_DEV *dev);

/* A field of `length` bits (1 to 16) at bit `offset` of a register. The set form reads, changes and writes back, but
 * writes a whole register without reading it; bits of the value that do not fit are dropped. */
MTD_STATUS mtdHwSetPhyRegField(MTD_DEV *dev, MTD_U16 port, MTD_U16 mmd, MTD_U16 reg, MTD_U16 offset, MTD_U16 length,
                               MTD_U16 value);
MTD_STATUS mtdHwGetPhyRegField(MTD_DEV *dev, MTD_U16 port, MTD_U16 mmd, MTD_U16 reg, MTD_U16 offset, MTD_U16 length,
                               MTD_U16 *value);

/*
 * BASE-R PCS status 1 and 2 (registers 3.32 and 3.33) of the line side, the only side there is. Outputs, 1 or 0 unless
 * counts; on failure they stay as they are:
 *   block_lock, high_ber                  now
 *   latched_block_lock, latched_high_ber  lock lost (0) or high error rate seen (1) since the last read
 *   ber_count, errored_blocks             since the last read, at most 63 and 255
 *   link                                  the receive link, now
 */
MTD_STATUS mtdGet10GBRStatus1(MTD_DEV *dev, MTD_U16 port, MTD_U16 side, MTD_U16 *block_lock, MTD_U16 *high_ber,
                              MTD_U16 *latched_block_lock, MTD_U16 *latched_high_ber, MTD_U16 *ber_count,
                              MTD_U16 *errored_blocks, MTD_U16 *link);

#ifdef __cplusplus
}
#endif

#endif
