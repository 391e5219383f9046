// How answers are written: one record of renderers for people, one for programs. Each gives whole text, line break
// included.
#ifndef GW_CLI_PRINTER_H
#define GW_CLI_PRINTER_H

#include <string>
#include <string_view>

#include "cli/forest.h"
#include "cli/problem.h"
#include "cli/view.h"
#include "protocol/client.h"

namespace cli {

enum class Verb : std::uint8_t { commit, validate, confirm, abort };

struct Printer {
    std::string (*tree)(const Node &root, bool as_set_commands);
    std::string (*view)(const View &view, const Node &root);
    std::string (*pairs)(const proto::Pairs &pairs);
    std::string (*diff)(const proto::Diff &diff);
    std::string (*commit)(const proto::CommitReply &reply, Verb verb, std::uint32_t confirm_seconds);
    std::string (*rollbacks)(const proto::Rollbacks &list);
    std::string (*event)(const proto::Event &event);
    std::string (*done)(std::string_view text);     // of a request whose answer says nothing; the text may be empty
    std::string (*problem)(const Problem &problem); // on the ordinary output; empty for people
};

extern const Printer text_printer;
extern const Printer json_printer;

// Seconds since the epoch in local time, "2026-11-22 20:49:01".
std::string local_time(std::int64_t seconds);

} // namespace cli

#endif
