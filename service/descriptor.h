#ifndef GW_SERVICE_DESCRIPTOR_H
#define GW_SERVICE_DESCRIPTOR_H

#include <unistd.h>

namespace service {

// Owns a file descriptor; negative is none.
struct Descriptor {
    Descriptor() = default;
    explicit Descriptor(int opened) : fd(opened) {}
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;
    ~Descriptor()
    {
        if (fd >= 0) close(fd);
    }

    int fd = -1;
};

} // namespace service

#endif
