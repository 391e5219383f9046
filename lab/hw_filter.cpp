#include "lab/hw_filter.h"

#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/i2c-dev.h>
#include <linux/seccomp.h>
#include <linux/sockios.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <cstring>

namespace {

#if defined(__x86_64__)
constexpr unsigned architecture = AUDIT_ARCH_X86_64;
#elif defined(__aarch64__)
constexpr unsigned architecture = AUDIT_ARCH_AARCH64;
#endif

// The kernel finds out by itself that the second test decides for every call but ioctl, and then does not run this for
// them. Offsets of jumps count from the next instruction. The request is the low word of the second argument.
// clang-format off
sock_filter program[] = {
    BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, arch)),
    BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, architecture, 0, 6),
    BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
    BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_ioctl, 0, 4),
    BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, args[1])),
    BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, I2C_RDWR, 3, 0),
    BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SIOCGMIIREG, 2, 0),
    BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SIOCSMIIREG, 1, 0),
    BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_USER_NOTIF),
};
// clang-format on

int set_filter(unsigned flags)
{
    sock_fprog whole{sizeof program / sizeof program[0], program};
    return static_cast<int>(syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, flags, &whole));
}

struct Envelope {
    char byte = 0;
    iovec data{&byte, 1};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))] = {};
    msghdr message{};
    Envelope()
    {
        message.msg_iov = &data;
        message.msg_iovlen = 1;
        message.msg_control = control;
        message.msg_controllen = sizeof control;
    }
    Envelope(const Envelope &) = delete;
    Envelope &operator=(const Envelope &) = delete;
};

} // namespace

int install_hw_filter()
{
    // What lets a process without privileges filter itself.
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0) return -1;
    // A signal must not take back a call that is being answered: the register would be written twice. Kernels before
    // 5.19 do not know that.
    const int listener = set_filter(SECCOMP_FILTER_FLAG_NEW_LISTENER | SECCOMP_FILTER_FLAG_WAIT_KILLABLE_RECV);
    return listener >= 0 || errno != EINVAL ? listener : set_filter(SECCOMP_FILTER_FLAG_NEW_LISTENER);
}

bool send_descriptor(int socket, int descriptor)
{
    Envelope envelope;
    cmsghdr *header = CMSG_FIRSTHDR(&envelope.message);
    header->cmsg_level = SOL_SOCKET;
    header->cmsg_type = SCM_RIGHTS;
    header->cmsg_len = CMSG_LEN(sizeof descriptor);
    memcpy(CMSG_DATA(header), &descriptor, sizeof descriptor);
    return sendmsg(socket, &envelope.message, MSG_NOSIGNAL) == 1;
}

int receive_descriptor(int socket)
{
    Envelope envelope;
    int descriptor = -1;
    if (recvmsg(socket, &envelope.message, MSG_CMSG_CLOEXEC) != 1) return -1;
    const cmsghdr *header = CMSG_FIRSTHDR(&envelope.message);
    if (header != nullptr) memcpy(&descriptor, CMSG_DATA(header), sizeof descriptor);
    return descriptor;
}
