// What ntpq prints, and the server file line by line.
#include <cstring>

#include "ntp/ntp_text.h"
#include "target.h"

void check(std::string_view input)
{
    const std::string text(input);
    NtpServer server{};
    const bool taken = take_server(text.c_str(), server);
    require(server.text[sizeof server.text - 1] == '\0' && strchr(server.text, ' ') == nullptr);
    require(taken == (server.text[0] != '\0') && ntpq_answer(text.c_str()) <= 1);
}
