#include "ntp/ntp_text.h"

#include <algorithm>
#include <arpa/inet.h>
#include <cstring>

namespace {

constexpr std::size_t keyword_size = 7;     // "server" and a blank
constexpr std::size_t shortest_answer = 35; // less holds no system variables

} // namespace

bool take_server(const char *line, NtpServer &server)
{
    if (strlen(line) <= keyword_size) return false;
    const char *token = line + keyword_size;
    const std::size_t length = std::min(strcspn(token, " "), sizeof server.text - 1);
    if (length == 0) return false;
    memcpy(server.text, token, length);
    server.text[length] = '\0';
    return true;
}

bool is_ipv4(const NtpServer &server)
{
    in_addr address{};
    return inet_pton(AF_INET, server.text, &address) == 1;
}

int ntpq_answer(const char *output)
{
    if (strlen(output) < shortest_answer) return -1;
    return strstr(output, "sync_ntp") != nullptr ? 1 : 0;
}
