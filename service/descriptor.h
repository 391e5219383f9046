#ifndef GW_SERVICE_DESCRIPTOR_H
#define GW_SERVICE_DESCRIPTOR_H

#include <utility>

#include <unistd.h>

namespace service {

// Owns a file descriptor; negative is none.
struct Descriptor {
    Descriptor() = default;
    explicit Descriptor(int opened) : fd(opened) {}
    Descriptor(Descriptor &&other) noexcept : fd(std::exchange(other.fd, -1)) {}
    Descriptor &operator=(Descriptor &&other) noexcept
    {
        std::swap(fd, other.fd);
        return *this;
    }
    ~Descriptor()
    {
        if (fd >= 0) close(fd);
    }

    int fd = -1;
};

} // namespace service

#endif
