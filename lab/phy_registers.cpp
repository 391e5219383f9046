#include "lab/phy_registers.h"

#include <cstdio>
#include <fstream>
#include <string>

namespace {

constexpr const char *registers = "/run/lab/hw/phy/"; // files MMD.REGISTER of one hexadecimal number; absent: 0
constexpr const char *write_log = "/tmp/phy.log";
constexpr unsigned phy_address = 28;
constexpr unsigned clause45_mark = 0x8000;

// "31.f000": the MMD in decimal, the register in hexadecimal, as data sheets write it.
std::string name_of(unsigned mmd, unsigned reg)
{
    char name[16];
    snprintf(name, sizeof name, "%u.%04x", mmd, reg);
    return name;
}

std::uint16_t read_register(const std::string &name)
{
    std::ifstream file(registers + name);
    unsigned value = 0;
    file >> std::hex >> value;
    return static_cast<std::uint16_t>(value);
}

void write_register(const std::string &name, std::uint16_t value)
{
    char text[8];
    snprintf(text, sizeof text, "%04x\n", value);
    std::ofstream(registers + name) << text;
    std::ofstream(write_log, std::ios::app) << "write " << name << " " << text;
}

} // namespace

bool is_clause45(const mii_ioctl_data &access)
{
    return (access.phy_id & clause45_mark) != 0;
}

void access_phy(bool write, mii_ioctl_data &access)
{
    const bool here = (access.phy_id >> 5 & 31U) == phy_address;
    const std::string name = name_of(access.phy_id & 31U, access.reg_num);
    if (!write) access.val_out = here ? read_register(name) : 0xffff;
    if (write && here) write_register(name, access.val_in);
}
