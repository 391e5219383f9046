// The appliance's libraries as a test sets them up.
#ifndef GW_FAKES_PLATFORM_H
#define GW_FAKES_PLATFORM_H

#include <functional>
#include <map>
#include <string>

#include "confd.h"
#include "maker.h"
#include "tollan.h"

namespace fakes {

// The outcome of every call; 0 at start.
struct Outcomes {
    int module_init = 0;
    int cdb_connect = 0;
    int start_session = 0;
    int link_check = 0;
    int timer_manager = 1;                                     // 0: none
    std::string refused_callpoint{};                           // whose registration fails
    bool run_commands = false;                                 // also runs what system() is given
    std::function<void(const TollanModuleParams &)> on_init{}; // runs inside tollan_module_init
    std::map<std::string, confd_value_t> stored{};             // what tollan_read_val finds, by path
};
extern Outcomes outcomes;

void reset(); // the outcomes and the record

confd_value_t text_value(const char *text);
confd_value_t ipv4_value(const char *text);

} // namespace fakes

#endif
