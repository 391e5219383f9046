#include "lab/hw_answers.h"

#include "lab/phy_registers.h"
#include "lab/sfp_module.h"

#include <linux/i2c-dev.h>
#include <linux/i2c.h>
#include <linux/seccomp.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>

namespace {

constexpr const char *bus_path = "/dev/i2c-2";
constexpr const char *module_path = "/run/lab/hw/sfp"; // absent: no module is inserted
constexpr const char *phy_device = "wired0";
constexpr unsigned max_messages = 8;
constexpr std::size_t max_message = 256;

// Of a call that this process was handed.
struct Answer {
    bool let_through; // the kernel carries it out after all
    int error;        // negative errno, or 0
    int value;
};

Answer failed(int error)
{
    return {false, error, 0};
}

Answer done(int value)
{
    return {false, 0, value};
}

constexpr Answer not_ours{true, 0, 0};

struct Call {
    int listener;
    const seccomp_notif *notification;
};

// Also checks that the caller still waits: its process id may be another's by now.
bool take(const Call &call, std::uint64_t address, void *data, std::size_t size)
{
    const iovec here{data, size};
    const iovec there{reinterpret_cast<void *>(address), size};
    std::uint64_t id = call.notification->id;
    const auto taken = process_vm_readv(static_cast<pid_t>(call.notification->pid), &here, 1, &there, 1, 0);
    return taken == static_cast<ssize_t>(size) && ioctl(call.listener, SECCOMP_IOCTL_NOTIF_ID_VALID, &id) == 0;
}

bool give(const Call &call, std::uint64_t address, void *data, std::size_t size)
{
    const iovec here{data, size};
    const iovec there{reinterpret_cast<void *>(address), size};
    const auto given = process_vm_writev(static_cast<pid_t>(call.notification->pid), &here, 1, &there, 1, 0);
    return given == static_cast<ssize_t>(size);
}

// The module that is inserted now; whoever exchanges it replaces the file.
SfpModule &inserted_module()
{
    static SfpModule module;
    static ino_t inode = 0;
    struct stat status {};
    if (stat(module_path, &status) != 0) {
        module = {};
        inode = 0;
    } else if (status.st_ino != inode) {
        std::ostringstream text;
        text << std::ifstream(module_path).rdbuf();
        module = parse_module(text.str());
        inode = status.st_ino;
    }
    return module;
}

bool is_on_bus(const seccomp_notif &notification)
{
    char link[64];
    char target[64] = "";
    snprintf(link, sizeof link, "/proc/%u/fd/%d", notification.pid, static_cast<int>(notification.data.args[0]));
    return readlink(link, target, sizeof target - 1) > 0 && strcmp(target, bus_path) == 0;
}

// 0 or a negative errno.
int pass_message(const Call &call, SfpModule &module, const i2c_msg &message)
{
    std::uint8_t bytes[max_message];
    const auto there = reinterpret_cast<std::uint64_t>(message.buf);
    if (message.len > sizeof bytes) return -EINVAL;
    if ((message.flags & I2C_M_RD) == 0) {
        if (!take(call, there, bytes, message.len)) return -EFAULT;
        return write_bytes(module, message.addr, {bytes, message.len});
    }
    const int result = read_bytes(module, message.addr, {bytes, message.len});
    return result != 0 || give(call, there, bytes, message.len) ? result : -EFAULT;
}

Answer transfer(const Call &call)
{
    i2c_rdwr_ioctl_data request{};
    i2c_msg messages[max_messages] = {};
    if (!is_on_bus(*call.notification)) return not_ours;
    if (!take(call, call.notification->data.args[2], &request, sizeof request)) return failed(-EFAULT);
    if (request.nmsgs > max_messages) return failed(-EINVAL);
    const auto there = reinterpret_cast<std::uint64_t>(request.msgs);
    if (!take(call, there, messages, request.nmsgs * sizeof messages[0])) return failed(-EFAULT);
    SfpModule &module = inserted_module();
    int result = begin_transfer(module);
    for (unsigned i = 0; i < request.nmsgs && result == 0; i++)
        result = pass_message(call, module, messages[i]);
    return result == 0 ? done(static_cast<int>(request.nmsgs)) : failed(result);
}

Answer access_register(const Call &call)
{
    const std::uint64_t there = call.notification->data.args[2];
    ifreq request{};
    mii_ioctl_data access{};
    if (!take(call, there, &request, sizeof request)) return failed(-EFAULT);
    memcpy(&access, &request.ifr_data, sizeof access);
    if (strncmp(request.ifr_name, phy_device, IFNAMSIZ) != 0 || !is_clause45(access)) return not_ours;
    access_phy(static_cast<unsigned>(call.notification->data.args[1]) == SIOCSMIIREG, access);
    memcpy(&request.ifr_data, &access, sizeof access);
    return give(call, there, &request, sizeof request) ? done(0) : failed(-EFAULT);
}

void answer_next(int listener)
{
    seccomp_notif notification{};
    seccomp_notif_resp response{};
    if (ioctl(listener, SECCOMP_IOCTL_NOTIF_RECV, &notification) != 0) return; // the caller was killed meanwhile
    const Call call{listener, &notification};
    const bool is_bus = static_cast<unsigned>(notification.data.args[1]) == I2C_RDWR;
    const Answer answer = is_bus ? transfer(call) : access_register(call);
    response.id = notification.id;
    response.error = answer.error;
    response.val = answer.value;
    response.flags = answer.let_through ? SECCOMP_USER_NOTIF_FLAG_CONTINUE : 0;
    ioctl(listener, SECCOMP_IOCTL_NOTIF_SEND, &response); // fails when the caller was killed meanwhile
}

} // namespace

void answer_all(int listener)
{
    pollfd ready{listener, POLLIN, 0};
    for (;;) {
        if (poll(&ready, 1, -1) < 0) continue;
        if ((ready.revents & POLLIN) == 0) return;
        answer_next(listener);
    }
}
