// Small things for tests that speak the protocol.
#ifndef GW_FAKES_PROTOCOL_H
#define GW_FAKES_PROTOCOL_H

#include <sstream>
#include <string>
#include <unistd.h>
#include <utility>

#include <gtest/gtest.h>

#include "protocol/client.h"
#include "protocol/frame.h"

namespace fakes {

struct Handle { // closes what it holds
    int fd = -1;
    Handle() = default;
    explicit Handle(int descriptor) : fd(descriptor) {}
    Handle(Handle &&other) noexcept : fd(std::exchange(other.fd, -1)) {}
    Handle &operator=(Handle &&other) noexcept
    {
        std::swap(fd, other.fd);
        return *this;
    }
    ~Handle()
    {
        if (fd >= 0) close(fd);
    }
};

struct Message {
    proto::Op op = proto::Op::error;
    std::uint32_t id = 0;
    std::string payload;
};

// What a message or frame carries; a failed expectation if it is no such record.
template <typename Record, typename Message> Record decoded(const Message &message)
{
    Record record;
    EXPECT_TRUE(decode(message.payload, &record));
    return record;
}

// "interface GigabitEthernet 0/0" as words.
inline proto::Words words(const std::string &line, char separator = ' ')
{
    std::istringstream in(line);
    proto::Words list;
    for (std::string word; std::getline(in >> std::ws, word, separator);)
        list.push_back(word);
    return list;
}

} // namespace fakes

#endif
