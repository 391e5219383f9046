#include "lab/click_handlers.h"

#include <cerrno>
#include <charconv>

#include "lab/port_mappings.h"

namespace {

// `path` is a writable node of `tree`. Same contract as click_write.
using WriteHandler = int (*)(ClickTree &tree, const std::string &path, const std::string &text);

int store(ClickTree &tree, const std::string &path, const std::string &text)
{
    tree[path].value = text;
    return 0;
}

int store_number(ClickTree &tree, const std::string &path, const std::string &text)
{
    const auto length = text.find_last_not_of('\n') + 1;
    unsigned number = 0;
    const auto [end, failure] = std::from_chars(text.data(), text.data() + length, number);
    if (failure != std::errc() || end != text.data() + length) {
        return -EINVAL;
    }
    return store(tree, path, std::to_string(number) + "\n");
}

// The text of the handler beside `path` that lists the forwarded ports.
std::string &mapped_ports(ClickTree &tree, const std::string &path)
{
    return tree[path.substr(0, path.rfind('/')) + "/mapped_ports"].value;
}

int load_rules(ClickTree &tree, const std::string &path, const std::string &text)
{
    return list_mappings(text, mapped_ports(tree, path)) ? 0 : -EINVAL;
}

int count_hits(ClickTree &tree, const std::string &path, const std::string &text)
{
    return hit_mappings(text, mapped_ports(tree, path)) ? 0 : -EINVAL;
}

struct SpecialHandler {
    std::string_view name; // last component of the path
    WriteHandler write;
};

// Handlers that do more than keep their text.
constexpr SpecialHandler special_handlers[] = {
    {"capacity",         store_number},
    {"probe_interval",   store_number},
    {"set_mapped_ports", load_rules  },
    {"lab_hits",         count_hits  },
};

} // namespace

int click_write(ClickTree &tree, const std::string &path, const std::string &text)
{
    const auto name = std::string_view(path).substr(path.rfind('/') + 1);
    for (const auto &special : special_handlers) {
        if (special.name == name) {
            return special.write(tree, path, text);
        }
    }
    return store(tree, path, text);
}
