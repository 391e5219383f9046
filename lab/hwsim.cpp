// hwsim: stands in for the hardware of an unmodified program. Runs it behind a filter that hands the I2C transfers on
// /dev/i2c-2 and the clause 45 register accesses of wired0 to a second process, which answers them from the lab's
// files; all other system calls go to the kernel. The program takes the place of hwsim itself: same process, same name
// as without. The answering process ends with the last process that has the filter.
#include "lab/hw_answers.h"
#include "lab/hw_filter.h"

#include <fcntl.h>
#include <linux/mii.h>
#include <linux/sockios.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace {

constexpr int cannot_attach = 125;
constexpr int cannot_run = 126;
constexpr const char *phy_device = "wired0";

// Neither a child of the program, which may wait for any of its children, nor in its session. Keeps no descriptor but
// the socket.
void become_server(int socket)
{
    const int nowhere = open("/dev/null", O_RDWR);
    if (setsid() < 0 || fork() != 0) _exit(0);
    for (int fd = 0; fd < 3; fd++)
        dup2(nowhere, fd);
    dup2(socket, 3);
    close_range(4, ~0U, 0);
    const int listener = receive_descriptor(3);
    if (listener >= 0) answer_all(listener);
    _exit(0);
}

// The other end of the answering process. -1 with errno.
int start_server()
{
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) return -1;
    const pid_t child = fork();
    if (child == 0) {
        close(ends[1]);
        become_server(ends[0]);
    }
    close(ends[0]);
    if (child < 0 || waitpid(child, nullptr, 0) != child) return -1;
    return ends[1];
}

// From here on this process has the simulated hardware.
bool attach_hardware()
{
    const int server = start_server();
    const int listener = server < 0 ? -1 : install_hw_filter();
    const bool attached = listener >= 0 && send_descriptor(server, listener);
    const int reason = errno;
    if (listener >= 0) close(listener);
    if (server >= 0) close(server);
    errno = reason;
    return attached;
}

// Whether a register can really be read here, not only whether there is a filter.
bool reads_a_register()
{
    ifreq request{};
    mii_ioctl_data access{};
    const int socket_fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    strncpy(request.ifr_name, phy_device, sizeof request.ifr_name - 1);
    access.phy_id = 0x8000; // an address where no PHY is: reads as ones
    memcpy(&request.ifr_data, &access, sizeof access);
    if (ioctl(socket_fd, SIOCGMIIREG, &request) != 0) return false;
    memcpy(&access, &request.ifr_data, sizeof access);
    return access.val_out == 0xffff;
}

} // namespace

int main(int argc, char **argv)
{
    const bool probe = argc == 2 && strcmp(argv[1], "--probe") == 0;
    if (!probe && (argc < 3 || strcmp(argv[1], "--") != 0)) {
        fprintf(stderr, "usage: hwsim -- PROGRAM [ARGUMENT...] | hwsim --probe\n");
        return cannot_attach;
    }
    if (!attach_hardware() || (probe && !reads_a_register())) {
        fprintf(stderr, "hwsim: no seccomp user notification: %s\n", strerror(errno));
        return cannot_attach;
    }
    if (probe) return 0;
    execvp(argv[2], argv + 2);
    fprintf(stderr, "hwsim: %s: %s\n", argv[2], strerror(errno));
    return cannot_run;
}
