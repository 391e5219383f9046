// What ntpq prints, and the server file line by line.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "ntp/ntp_text.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::string text(reinterpret_cast<const char *>(data), size);
    NtpServer server{};
    const bool taken = take_server(text.c_str(), server);
    if (server.text[sizeof server.text - 1] != '\0' || strchr(server.text, ' ') != nullptr) abort();
    if (taken != (server.text[0] != '\0') || ntpq_answer(text.c_str()) > 1) abort();
    return 0;
}
