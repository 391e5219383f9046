// logsink: the appliance's /dev/log. Writes each message as one line "TIME FACILITY.SEVERITY TAG[PID]: TEXT" with the
// time it arrived. It must never pause: the queue of a log socket holds ten messages and then blocks every sender.
#include "lab/escape.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <ctime>

namespace {

constexpr std::array facilities{"kern",   "user",   "mail",     "daemon", "auth",   "syslog", "lpr",    "news",
                                "uucp",   "cron",   "authpriv", "ftp",    "ntp",    "audit",  "alert",  "clock",
                                "local0", "local1", "local2",   "local3", "local4", "local5", "local6", "local7"};
constexpr std::array severities{"emerg", "alert", "crit", "err", "warning", "notice", "info", "debug"};
constexpr unsigned default_priority = 13; // user.notice, what a message without a priority counts as

// Takes "<PRIORITY>" off the front of `text`.
unsigned take_priority(std::string_view &text)
{
    unsigned priority = default_priority;
    const auto close = text.find('>');
    if (!text.starts_with('<') || close == std::string_view::npos) {
        return default_priority;
    }
    const auto [end, failure] = std::from_chars(text.data() + 1, text.data() + close, priority);
    if (failure != std::errc() || end != text.data() + close || priority / 8 >= facilities.size()) {
        return default_priority;
    }
    text.remove_prefix(close + 1);
    return priority;
}

// Takes the sender's time off the front of `text`, which a NUL follows: the time of arrival is shown instead, in
// milliseconds.
void drop_sender_time(std::string_view &text)
{
    tm parts{};
    const char *end = strptime(text.data(), "%b %d %H:%M:%S ", &parts);
    if (end != nullptr) {
        text.remove_prefix(static_cast<size_t>(end - text.data()));
    }
}

std::string time_text(const timespec &now)
{
    tm parts{};
    localtime_r(&now.tv_sec, &parts);
    std::array<char, 32> date{};
    std::array<char, 40> all{};
    (void)strftime(date.data(), date.size(), "%Y-%m-%dT%H:%M:%S", &parts);
    const auto milliseconds = static_cast<unsigned>(now.tv_nsec / 1000000) % 1000U;
    (void)snprintf(all.data(), all.size(), "%s.%03u", date.data(), milliseconds);
    return all.data();
}

// `datagram` is followed by a NUL.
std::string log_line(std::string_view datagram, const timespec &now)
{
    while (datagram.ends_with('\0')) {
        datagram.remove_suffix(1);
    }
    const unsigned priority = take_priority(datagram);
    drop_sender_time(datagram);
    return time_text(now) + " " + facilities.at(priority / 8) + "." + severities.at(priority % 8) + " " +
           escape_line(datagram) + "\n";
}

int open_socket(const char *path)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (strlen(path) >= sizeof address.sun_path) {
        errno = ENAMETOOLONG;
        return -1;
    }
    memcpy(address.sun_path, path, strlen(path) + 1);
    const int fd = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    (void)unlink(path);
    if (fd < 0 || bind(fd, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0 ||
        chmod(path, 0666) != 0) {
        return -1;
    }
    return fd;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc != 3) {
        (void)fprintf(stderr, "usage: logsink SOCKET FILE\n");
        return 2;
    }
    const int file = open(argv[2], O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    const int in = file < 0 ? -1 : open_socket(argv[1]);
    if (in < 0) {
        (void)fprintf(stderr, "logsink: %s: %s\n", file < 0 ? argv[2] : argv[1], strerror(errno));
        return 1;
    }
    static std::array<char, 1U << 18> datagram;
    for (;;) {
        const ssize_t size = recv(in, datagram.data(), datagram.size() - 1, 0);
        if (size < 0 && errno != EINTR) {
            perror("logsink: recv");
            return 1;
        }
        if (size > 0) {
            datagram[static_cast<size_t>(size)] = '\0';
            timespec now{};
            clock_gettime(CLOCK_REALTIME, &now);
            const auto line = log_line({datagram.data(), static_cast<size_t>(size)}, now);
            (void)!write(file, line.data(), line.size());
        }
    }
}
