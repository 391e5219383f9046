#include "platform/confd/names.h"

#include <algorithm>
#include <cstring>
#include <deque>
#include <mutex>
#include <string>
#include <unordered_map>

#include "confd.h"
#include "platform/confd/convert.h"

namespace {

struct Names {
    std::mutex lock;
    std::deque<std::string> texts; // never shrinks
    std::unordered_map<std::uint32_t, const std::string *> by_hash;
};

// Never destroyed: threads that outlive main's return may still ask.
Names &names()
{
    static Names &all = *new Names;
    return all;
}

std::string element_text(const confd_value_t (&element)[CONFD_MAX_KEYS])
{
    if (element[0].type == C_XMLTAG) return std::string("/") + confd_hash2str(element[0].val.xmltag.tag);
    std::string text = "{";
    for (int i = 0; i < CONFD_MAX_KEYS && element[i].type != C_NOEXISTS; i++) {
        proto::Value key;
        if (i > 0) text += ' ';
        if (confd::from_c(element[i], &key)) text += proto::printable(proto::to_text(key));
    }
    return text + "}";
}

} // namespace

namespace confd {

void learn_names(const std::vector<proto::TagName> &list)
{
    Names &all = names();
    const std::lock_guard<std::mutex> guard(all.lock);
    for (const proto::TagName &item : list) {
        const std::string *&known = all.by_hash[item.hash];
        if (!known || *known != item.name) known = &all.texts.emplace_back(item.name);
    }
}

} // namespace confd

const char *confd_hash2str(uint32_t hash)
{
    Names &all = names();
    const std::lock_guard<std::mutex> guard(all.lock);
    const auto found = all.by_hash.find(hash);
    return found == all.by_hash.end() ? "?" : found->second->c_str();
}

int confd_pp_kpath(char *buf, int size, const confd_hkeypath_t *path)
{
    std::string text;
    for (int i = path->len - 1; i >= 0; i--) {
        text += element_text(path->v[i]);
    }
    if (size > 0) {
        const std::size_t kept = std::min(text.size(), static_cast<std::size_t>(size) - 1);
        std::memcpy(buf, text.data(), kept);
        buf[kept] = '\0';
    }
    return static_cast<int>(text.size());
}
