#include "monitor/phy.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>

#include "core/base/command_runner.h"
#include "core/base/handles.h"
#include "core/base/log.h"
#include "core/base/waits.h"
#include "monitor/devmem.h"
#include "monitor/xsmi.h"

namespace {

constexpr std::uint32_t mode_register_a = 0xf2130f84;
constexpr std::uint32_t mode_a_1g = 0x1000;
constexpr std::uint32_t mode_register_b = 0xf2130f1c;
constexpr std::uint32_t mode_b_10g = 0x2000;
constexpr std::uint32_t mac_status_1g = 0xf2130e10;
constexpr std::uint32_t mac_status_10g = 0xf2130f0c;
constexpr std::uint32_t mac_link = 0x1;

constexpr int link_polls = 120; // one second apart

constexpr const char *status_path = "/sys/bus/i2c/devices/i2c-0/0-0022/reg_phy_status";
constexpr unsigned long status_connected = 0x400;

struct PhyField {
    MTD_U16 mmd, reg, offset, length, value;
};

struct PhyMode {
    int speed;          // Mb/s
    PhyField fields[3]; // written once the MAC is up
    MTD_U16 report_mmd, report_reg;
};

// clang-format off
constexpr PhyMode mode_1g = {1000, {
    {31, 0xf000, 0,  3, 0},
    {31, 0xf001, 0,  4, 12},
    {31, 0xf001, 15, 1, 1},
}, 30, 0x8304};

constexpr PhyMode mode_10g = {10000, {
    {31, 0xf000, 0,  3, 1},
    {31, 0xf001, 3,  2, 3},
    {31, 0xf001, 15, 1, 1},
}, 30, 0x8301};

constexpr PhyField indication_connected[] = {
    {31, 0xf012, 0, 16, 0x0a11},
    {31, 0xf013, 0, 16, 0x0f04},
};
constexpr PhyField indication_unconnected[] = {
    {31, 0xf012, 0, 16, 0x0a15},
    {31, 0xf013, 0, 16, 0x0f00},
};
// clang-format on

template <std::size_t count> void write_fields(MTD_DEV *dev, const PhyField (&fields)[count])
{
    for (const PhyField &field : fields) {
        mtdHwSetPhyRegField(dev, phy_port, field.mmd, field.reg, field.offset, field.length, field.value);
    }
}

bool is_pcs_link_up(MTD_DEV *dev)
{
    MTD_U16 unused[6] = {};
    MTD_U16 link = 0;
    mtdGet10GBRStatus1(dev, phy_port, MTD_LINE_SIDE, unused, unused + 1, unused + 2, unused + 3, unused + 4, unused + 5,
                       &link);
    return link != 0;
}

void wait_pcs_link(MTD_DEV *dev)
{
    for (int poll = 0; poll < link_polls; poll++) {
        if (is_pcs_link_up(dev)) return;
        wait_seconds(1);
    }
    log_guarded(LOG_ERR, "X-unit link error for 10G after polling 10s");
}

void report_register(MTD_DEV *dev, MTD_U16 mmd, MTD_U16 reg)
{
    MTD_U16 value = 0;
    mtdHwGetPhyRegField(dev, phy_port, mmd, reg, 0, 16, &value);
    log_guarded(LOG_INFO, "Configured reg 30.%x with value %x", reg, value);
}

} // namespace

void set_mac_mode(bool ten_gig)
{
    std::uint32_t a = 0; // what cannot be read counts as 0
    std::uint32_t b = 0;
    devmem_read32(mode_register_a, &a);
    devmem_read32(mode_register_b, &b);
    devmem_write32(mode_register_a, ten_gig ? a & ~mode_a_1g : a | mode_a_1g);
    devmem_write32(mode_register_b, ten_gig ? b | mode_b_10g : b & ~mode_b_10g);
}

int wait_mac_link(int speed, bool *ok)
{
    const std::uint32_t address = speed == 10000 ? mac_status_10g : mac_status_1g;
    std::uint32_t status = 0;
    *ok = false;
    for (int poll = 0; poll < link_polls; poll++) {
        devmem_read32(address, &status);
        if ((status & mac_link) != 0) {
            *ok = true;
            return 0;
        }
        wait_seconds(1);
    }
    log_guarded(LOG_ERR, "MAC link failed after polling 10s, [0x%x]:0x%hx\n", address,
                static_cast<unsigned short>(status));
    return 1;
}

void phy_configure(MTD_DEV *dev, bool ten_gig)
{
    const PhyMode &mode = ten_gig ? mode_10g : mode_1g;
    bool has_link = false;
    set_mac_mode(ten_gig);
    run_shell("ifconfig wired0 down");
    run_shell("ifconfig wired0 up");
    wait_mac_link(mode.speed, &has_link);
    if (has_link) write_fields(dev, mode.fields);
    if (ten_gig) wait_pcs_link(dev);
    report_register(dev, mode.report_mmd, mode.report_reg);
}

void phy_link_indication(MTD_DEV *dev, bool connected)
{
    write_fields(dev, connected ? indication_connected : indication_unconnected);
}

bool is_phy_connected(const char *line)
{
    return (strtoul(line, nullptr, 16) & status_connected) != 0;
}

int read_phy_status()
{
    char line[64];
    const File file(fopen(status_path, "re"));
    if (!file) {
        log_guarded(LOG_ERR, "Could not open phy_status reg file");
        return 0;
    }
    return fgets(line, sizeof line, file.get()) != nullptr && is_phy_connected(line) ? 1 : 0;
}
