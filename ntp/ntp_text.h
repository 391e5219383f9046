// What the files and programs of time keeping say. Text in, record out.
#ifndef GW_NTP_NTP_TEXT_H
#define GW_NTP_NTP_TEXT_H

// An address or name, empty for none.
struct NtpServer {
    char text[32];
};

// Takes the server off a line of the server file: a keyword and a blank, 7 characters together, then the server up to a
// blank, cut to 31 characters. The line break belongs to it when no blank comes before. False, and the server stays,
// when the line has none.
bool take_server(const char *line, NtpServer &server);

bool is_ipv4(const NtpServer &server);

// What the program that asks the NTP daemon printed: 1 synchronised, 0 not, -1 too little to tell.
int ntpq_answer(const char *output);

#endif
