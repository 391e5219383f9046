#include "monitor/xsmi.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <linux/mii.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include "core/base/log.h"

namespace {

constexpr XsmiOps xsmi_ops = {xsmi_read, xsmi_write};

// Of the Ethernet device that owns the bus, whatever the record is called.
constexpr const char *bus_device = "wired0";

// The kernel keeps this record in place of the request's address.
static_assert(sizeof(mii_ioctl_data) <= sizeof(ifreq::ifr_ifru));

// The clause 45 form: bit 15, the port in bits 9 to 5, the MMD in bits 4 to 0.
std::uint16_t clause_45_phy_id(std::uint16_t port, std::uint16_t device)
{
    return static_cast<std::uint16_t>(0x8000 | (port & 31) << 5 | (device & 31));
}

// Runs the request; 0, or errno with nothing changed.
int mii_request(const XsmiDevice *dev, unsigned long code, mii_ioctl_data *data)
{
    ifreq request{};
    snprintf(request.ifr_name, sizeof request.ifr_name, "%s", bus_device);
    memcpy(&request.ifr_ifru, data, sizeof *data);
    if (ioctl(dev->fd, code, &request) < 0) return errno;
    memcpy(data, &request.ifr_ifru, sizeof *data);
    return 0;
}

int fail_to_create(const char *reason)
{
    log_guarded(LOG_ERR, "%s", reason);
    log_guarded(LOG_ERR, "failed to create xsmi dev");
    return -1;
}

// The handle of the requests; which kind of socket makes no difference to them.
bool open_handle(XsmiDevice *dev)
{
    dev->fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (dev->fd < 0) log_guarded(LOG_ERR, "Failed create socket");
    return dev->fd >= 0;
}

} // namespace

int create_xsmi_dev(XsmiDevice **created, std::uint64_t base, std::uint64_t port, const char *name)
{
    if (created == nullptr || *created != nullptr || base == 0 || port != phy_port || name == nullptr) {
        return fail_to_create("Invalid argument to create xsmi dev");
    }
    auto *dev = static_cast<XsmiDevice *>(calloc(1, sizeof(XsmiDevice)));
    *created = dev;
    if (dev == nullptr) return fail_to_create("Malloc failed");
    snprintf(dev->name, sizeof dev->name, "%s", name);
    dev->base = base;
    dev->port = port;
    dev->fd = -1;
    dev->ops = &xsmi_ops;
    if (open_handle(dev)) return 0;
    fail_to_create("failed to open xsmi socket");
    free(dev);
    *created = nullptr;
    return -1;
}

int destroy_xsmi_dev(XsmiDevice *dev)
{
    if (dev == nullptr) {
        log_guarded(LOG_ERR, "invalid argument");
        return -1;
    }
    if (dev->fd > 0) close(dev->fd);
    free(dev);
    return 0;
}

int xsmi_read(const XsmiDevice *dev, std::uint16_t port, std::uint16_t device, std::uint16_t reg, std::uint16_t *value)
{
    mii_ioctl_data data = {clause_45_phy_id(port, device), reg, 0, 0};
    const int error = mii_request(dev, SIOCGMIIREG, &data);
    if (error != 0) {
        log_guarded(LOG_ERR, "ioctl xsmi Read failed %s", strerror(error));
        return error;
    }
    *value = data.val_out;
    return 0;
}

int xsmi_write(const XsmiDevice *dev, std::uint16_t port, std::uint16_t device, std::uint16_t reg, std::uint16_t value)
{
    mii_ioctl_data data = {clause_45_phy_id(port, device), reg, value, 0};
    const int error = mii_request(dev, SIOCSMIIREG, &data);
    if (error != 0) log_guarded(LOG_ERR, "ioctl xsmi failed write %s", strerror(error));
    return error;
}

MTD_STATUS marvell_mtd_xsmi_read(MTD_DEV *dev, MTD_U16 port, MTD_U16 device, MTD_U16 reg, MTD_U16 *value)
{
    const auto *xsmi = static_cast<const XsmiDevice *>(dev->app_data);
    return xsmi->ops->read(xsmi, port, device, reg, value) == 0 ? MTD_OK : MTD_FAIL;
}

MTD_STATUS marvell_mtd_xsmi_write(MTD_DEV *dev, MTD_U16 port, MTD_U16 device, MTD_U16 reg, MTD_U16 value)
{
    const auto *xsmi = static_cast<const XsmiDevice *>(dev->app_data);
    return xsmi->ops->write(xsmi, port, device, reg, value) == 0 ? MTD_OK : MTD_FAIL;
}
