// The appliance's libraries as a test sets them up.
#ifndef GW_FAKES_PLATFORM_H
#define GW_FAKES_PLATFORM_H

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "confd.h"
#include "fakes/record.h"
#include "maker.h"
#include "tollan.h"

namespace fakes {

// What calls return, those in the first line by their names, and what else a test orders.
struct Outcomes {
    int module_init = 0, link_check = 0, cdb_connect = 0, start_session = 0, cdb_cd = 0, cdb_set_elem = 0;
    int reply = 0;                                             // of every data reply
    int timer_manager = 1;                                     // 0: none
    int ready = 1;                                             // the module of a data provider's transaction
    std::string refused_callpoint{};                           // whose registration fails
    bool run_commands = false;                                 // also runs what system() is given
    std::function<void(const TollanModuleParams &)> on_init{}; // runs inside tollan_module_init
    std::map<std::string, confd_value_t> stored{};             // what tollan_read_val and cdb_get_* find, by path
    std::map<std::string, int> instances{};                    // of cdb_num_instances and cdb_exists, by path
    std::map<std::string, LinkInfo> links{};                   // what zel_link_get finds, by device
    std::map<std::string, std::string> outputs{};              // of zel_execute_output, by command; others fail
    std::function<void(unsigned)> on_wait{}; // with fake_waits: runs in every wait, with its milliseconds
};
extern Outcomes outcomes;

void reset(); // the outcomes and the record

confd_value_t text_value(const char *text);
confd_value_t ipv4_value(const char *text);

// A value as the record shows it: its canonical text, "quoted" or after its kind (i32 5, u16 5, u32 5, u64 5, enum 1,
// base64 AAAA); and tag 0x0000000a.
std::string shown(const confd_value_t &value);

using Path = std::vector<std::vector<confd_value_t>>; // its elements from the innermost
confd_hkeypath_t keypath(const Path &elements);
confd_value_t tag(std::uint32_t hash); // C_XMLTAG
confd_tag_value_t pair(std::uint32_t tag, confd_vtype type, std::uint64_t number = 0);

confd_trans_ctx *transaction();

// Records a data provider's request, by its path, and its result if it fails.
template <typename... More>
void ask(int (*provider)(confd_trans_ctx *, confd_hkeypath_t *, More...), const Path &path,
         std::type_identity_t<More>... more)
{
    std::string text = ">";
    for (const auto &element : path)
        text += " " + shown(element.back());
    record(text);
    confd_hkeypath_t kp = keypath(path);
    const int result = provider(transaction(), &kp, more...);
    if (result != CONFD_OK) record("result " + std::to_string(result));
}

} // namespace fakes

#endif
