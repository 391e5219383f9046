#include "fakes/record.h"

#include <mutex>
#include <utility>

namespace fakes {

namespace {

std::mutex guard;
Events events;

} // namespace

void record(std::string event)
{
    const std::lock_guard lock(guard);
    events.push_back(std::move(event));
}

Events taken()
{
    const std::lock_guard lock(guard);
    return std::exchange(events, {});
}

Events taken(const std::string &kind)
{
    Events found;
    for (const std::string &event : taken()) {
        if (event.starts_with(kind + ": ")) found.push_back(event.substr(kind.size() + 2));
    }
    return found;
}

} // namespace fakes
