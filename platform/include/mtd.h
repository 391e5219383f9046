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

MTD_STATUS mtdLoadDriver(mtd_read_mdio read, mtd_write_mdio write, int macsec_indirect, mtd_semaphore_call create,
                         mtd_semaphore_call destroy, mtd_semaphore_call take, mtd_semaphore_call give, MTD_U16 any_port,
                         MTD_DEV *dev);

/* A field of `length` bits (1 to 16) at bit `offset` of a register; the set form reads, changes and writes back. */
MTD_STATUS mtdHwSetPhyRegField(MTD_DEV *dev, MTD_U16 port, MTD_U16 mmd, MTD_U16 reg, MTD_U16 offset, MTD_U16 length,
                               MTD_U16 value);
MTD_STATUS mtdHwGetPhyRegField(MTD_DEV *dev, MTD_U16 port, MTD_U16 mmd, MTD_U16 reg, MTD_U16 offset, MTD_U16 length,
                               MTD_U16 *value);

/* 10GBASE-R PCS status; the seventh output is non-zero when the link is up. */
MTD_STATUS mtdGet10GBRStatus1(MTD_DEV *dev, MTD_U16 port, MTD_U16 side, MTD_U16 *out1, MTD_U16 *out2, MTD_U16 *out3,
                              MTD_U16 *out4, MTD_U16 *out5, MTD_U16 *out6, MTD_U16 *link);

#ifdef __cplusplus
}
#endif

#endif
