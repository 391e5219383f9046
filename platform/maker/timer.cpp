#include <atomic>
#include <new>

#include "maker.h"

namespace {

// The management library needs no timers of ours: the handle only says that there is a manager.
struct TimerManager {
    TimerManager *next;
    void *user;
    void (*release)(void *);
    int kind;
    int level;
};

// Managers live as long as the process; the chain keeps them in sight of leak checkers.
std::atomic<TimerManager *> managers;

} // namespace

void *timer_mgr_create(int kind, void *(*alloc)(size_t), void (*release)(void *), void *user, int level)
{
    void *room = alloc ? alloc(sizeof(TimerManager)) : nullptr;
    if (!room) return nullptr;
    auto *manager = new (room) TimerManager{managers.load(), user, release, kind, level};
    while (!managers.compare_exchange_weak(manager->next, manager)) {
    }
    return manager;
}
