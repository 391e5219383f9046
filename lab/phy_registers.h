// The registers of a simulated PHY (IEEE 802.3 clause 45): one file per register, which is also how the lab shows and
// sets them.
#pragma once

#include <linux/mii.h>

// Answers a clause 45 access of SIOCGMIIREG or SIOCSMIIREG. A write is added to the write log. At an address where no
// PHY is, the bus reads as ones and writes are lost, as on a real one.
void access_phy(bool write, mii_ioctl_data &access);

// Whether it is a clause 45 access at all.
bool is_clause45(const mii_ioctl_data &access);
