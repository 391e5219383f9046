#ifndef GW_FAKES_COMMANDS_H
#define GW_FAKES_COMMANDS_H

namespace fakes {

extern bool run_commands; // also runs what system() is given; off at start

} // namespace fakes

#endif
