// Register access to the 10G PHY: clause 45 MDIO through the MII requests of the LAN port's Ethernet driver, and the
// callbacks that put the PHY driver on top of it.
#ifndef GW_MONITOR_XSMI_H
#define GW_MONITOR_XSMI_H

#include <cstdint>

#include "mtd.h"

struct XsmiDevice;

struct XsmiOps {
    int (*read)(const XsmiDevice *dev, std::uint16_t port, std::uint16_t device, std::uint16_t reg,
                std::uint16_t *value);
    int (*write)(const XsmiDevice *dev, std::uint16_t port, std::uint16_t device, std::uint16_t reg,
                 std::uint16_t value);
};

struct XsmiDevice {
    char name[16];
    std::uint64_t base; // of the controller; identifies it, the Ethernet driver does the access
    std::uint64_t port; // of the PHY
    int fd;             // what the requests are made on; -1 until opened
    const XsmiOps *ops;
};

inline constexpr std::uint16_t phy_port = 28; // the PHY's address on the bus, the only one

// 0, or -1 after logging why. `*created` must be null before and is the new record, or null, after; a name is cut to 15
// characters.
int create_xsmi_dev(XsmiDevice **created, std::uint64_t base, std::uint64_t port, const char *name);

int destroy_xsmi_dev(XsmiDevice *dev); // 0, or -1 for null

// A register of one MMD of the PHY. 0, or the errno of the failed request; the value then stays as it is.
int xsmi_read(const XsmiDevice *dev, std::uint16_t port, std::uint16_t device, std::uint16_t reg, std::uint16_t *value);
int xsmi_write(const XsmiDevice *dev, std::uint16_t port, std::uint16_t device, std::uint16_t reg, std::uint16_t value);

// For mtdLoadDriver(); the application data of `dev` is its XsmiDevice.
MTD_STATUS marvell_mtd_xsmi_read(MTD_DEV *dev, MTD_U16 port, MTD_U16 device, MTD_U16 reg, MTD_U16 *value);
MTD_STATUS marvell_mtd_xsmi_write(MTD_DEV *dev, MTD_U16 port, MTD_U16 device, MTD_U16 reg, MTD_U16 value);

#endif
