#include "platform/tollan/link.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>

namespace tollan {

namespace {

constexpr std::size_t read_size = 64UL * 1024;
// Output of an agent that does not read. Answers to it are bounded by its questions; notifications end here.
constexpr std::size_t max_waiting = 256UL * 1024;

void write_out(Link *link)
{
    std::size_t done = 0;
    while (done < link->out.size()) {
        const ssize_t n = send(link->fd, link->out.data() + done, link->out.size() - done, MSG_DONTWAIT | MSG_NOSIGNAL);
        if (n > 0) {
            done += static_cast<std::size_t>(n);
        } else if (errno != EINTR) {
            break; // full, or the peer has gone: then the loop finds the socket readable and closes
        }
    }
    link->out.erase(0, done);
}

void queue(Link *link, proto::Op op, std::uint32_t id, std::string_view payload)
{
    link->out += proto::make_frame(op, id, payload);
    write_out(link);
    if (!link->out.empty()) eventfd_write(link->wake_fd, 1);
}

} // namespace

bool open_link(Link *link)
{
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (fd < 0) return false;
    const int on = 1;
    setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(proto::default_port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const int result = connect(fd, reinterpret_cast<const sockaddr *>(&address), sizeof address);
    if (result != 0 && errno != EINPROGRESS && errno != EINTR) {
        close(fd);
        return false;
    }
    const std::lock_guard<std::mutex> guard(link->lock);
    link->fd = fd;
    link->state = State::connecting;
    return true;
}

bool link_connected(const Link &link)
{
    int error = 0;
    socklen_t size = sizeof error;
    return getsockopt(link.fd, SOL_SOCKET, SO_ERROR, &error, &size) == 0 && error == 0;
}

void set_state(Link *link, State state)
{
    const std::lock_guard<std::mutex> guard(link->lock);
    link->state = state;
}

void close_link(Link *link)
{
    const std::lock_guard<std::mutex> guard(link->lock);
    if (link->fd >= 0) close(link->fd);
    link->fd = -1;
    link->state = State::closed;
    link->in.clear();
    link->out.clear();
}

// Through a buffer of its own: room at the end of the input would be filled with zeros first, at each of the hundreds
// of calls that a list takes.
bool receive(Link *link)
{
    char bytes[read_size];
    ssize_t n = 0;
    do {
        n = recv(link->fd, bytes, sizeof bytes, MSG_DONTWAIT);
    } while (n < 0 && errno == EINTR);
    if (n > 0) link->in.append(bytes, static_cast<std::size_t>(n));
    return n > 0 || (n < 0 && errno == EAGAIN);
}

void post(Link *link, proto::Op op, std::uint32_t id, std::string_view payload)
{
    const std::lock_guard<std::mutex> guard(link->lock);
    queue(link, op, id, payload);
}

bool post_if_up(Link *link, proto::Op op, std::string_view payload)
{
    const std::lock_guard<std::mutex> guard(link->lock);
    if (link->state != State::up || link->out.size() > max_waiting || !proto::fits_frame(payload.size())) return false;
    queue(link, op, 0, payload);
    return true;
}

bool flush(Link *link)
{
    const std::lock_guard<std::mutex> guard(link->lock);
    write_out(link);
    return !link->out.empty();
}

} // namespace tollan
