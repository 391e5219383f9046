// Owners of what must be released on every path out of a function.
#ifndef GW_CORE_BASE_HANDLES_H
#define GW_CORE_BASE_HANDLES_H

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <unistd.h>

#include "confd.h"

struct CloseFile {
    void operator()(FILE *file) const { fclose(file); }
};
using File = std::unique_ptr<FILE, CloseFile>;

// True when everything that was written has left the process; a full file system shows no earlier.
inline bool close_written(File &file)
{
    const bool written = ferror(file.get()) == 0;
    return fclose(file.release()) == 0 && written;
}

// Of popen(); releasing it waits for the command.
struct ClosePipe {
    void operator()(FILE *pipe) const { pclose(pipe); }
};
using Pipe = std::unique_ptr<FILE, ClosePipe>;

// What getline() allocates; one for all lines of a file.
struct LineBuffer {
    char *text = nullptr;
    std::size_t size = 0;
    LineBuffer() = default;
    ~LineBuffer() { free(text); }
    LineBuffer(const LineBuffer &) = delete;
    LineBuffer &operator=(const LineBuffer &) = delete;
};

// A descriptor; 0 is a valid one, negative is none.
struct Descriptor {
    int fd;
    explicit Descriptor(int opened) : fd(opened) {}
    ~Descriptor()
    {
        if (fd >= 0) close(fd);
    }
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;
};

// What setup_cdb_session() and setup_oper_cdb_session() return: negative when there is no session.
struct CdbSession {
    int sock;
    explicit CdbSession(int opened) : sock(opened) {}
    ~CdbSession()
    {
        if (sock < 0) return;
        cdb_end_session(sock);
        cdb_close(sock); // the descriptor with it
    }
    CdbSession(const CdbSession &) = delete;
    CdbSession &operator=(const CdbSession &) = delete;
    bool open() const { return sock >= 0; }
};

#endif
