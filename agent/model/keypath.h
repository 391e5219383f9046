// The text form of keypaths, without the models. Inside the model layer.
#ifndef GW_AGENT_MODEL_KEYPATH_H
#define GW_AGENT_MODEL_KEYPATH_H

#include <string>
#include <string_view>
#include <vector>

namespace model {

struct RawStep {
    std::string module; // may be empty
    std::string name;
    std::vector<std::string> keys;
    bool has_keys = false;
    long position = -1;
};

// The steps of a keypath without its leading "/". False: malformed.
bool split_keypath(std::string_view text, std::vector<RawStep> *steps);

// "{a \"b c\"}"; nothing for no keys.
std::string in_braces(const std::vector<std::string> &keys);

} // namespace model

#endif
