#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "maker.h"

extern char **environ;

namespace {

constexpr int not_run = -1;

// Standard output is the pipe; all else is the caller's. 0 on success.
int spawn_shell(const char *command, int output, pid_t *child)
{
    const char *const argv[] = {"sh", "-c", command, nullptr};
    posix_spawn_file_actions_t actions;
    if (posix_spawn_file_actions_init(&actions) != 0) return not_run;
    int error = posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    // posix_spawn takes the arguments as char * for history's sake and changes none.
    if (error == 0) error = posix_spawn(child, "/bin/sh", &actions, nullptr, const_cast<char *const *>(argv), environ);
    posix_spawn_file_actions_destroy(&actions);
    return error;
}

// Reads to the end, also what does not fit: the command must not meet a closed pipe. Returns how much was kept.
std::size_t drain(int fd, char *output, std::size_t room)
{
    std::size_t kept = 0;
    for (;;) {
        char part[4096];
        const ssize_t n = read(fd, part, sizeof part);
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) return kept;
        const std::size_t take = std::min(static_cast<std::size_t>(n), room - kept);
        std::memcpy(output + kept, part, take);
        kept += take;
    }
}

// This child only: others belong to whoever started them.
int wait_for(pid_t child)
{
    int status = 0;
    while (waitpid(child, &status, 0) < 0) {
        if (errno != EINTR) return not_run;
    }
    return WIFEXITED(status) ? WEXITSTATUS(status) : not_run;
}

} // namespace

int zel_execute_output(const char *command, char *output, size_t size)
{
    if (size == 0) return not_run;
    output[0] = '\0';
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) return not_run;
    pid_t child = 0;
    const int error = spawn_shell(command, ends[1], &child);
    close(ends[1]);
    std::size_t kept = error == 0 ? drain(ends[0], output, size - 1) : 0;
    close(ends[0]);
    if (kept > 0 && output[kept - 1] == '\n') kept--;
    output[kept] = '\0';
    return error == 0 ? wait_for(child) : not_run;
}
