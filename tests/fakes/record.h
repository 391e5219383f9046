// What the code under test did, in order, one text per event: "error: text" (a log line, by its level; "crit", "info",
// "debug" likewise), "run: command", and the names and arguments of replaced calls. Source lines of traces read "[#]".
#ifndef GW_FAKES_RECORD_H
#define GW_FAKES_RECORD_H

#include <string>
#include <vector>

namespace fakes {

using Events = std::vector<std::string>;

int record(std::string event, int result = 0); // returns the result: that of a replaced call
Events taken();                                // what was recorded since the last call

} // namespace fakes

#endif
