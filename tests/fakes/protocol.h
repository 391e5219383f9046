// Small things for tests that speak the protocol.
#ifndef GW_FAKES_PROTOCOL_H
#define GW_FAKES_PROTOCOL_H

#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "protocol/client.h"
#include "service/stream.h"

namespace fakes {

using Handle = service::Descriptor;
using service::Message;

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
