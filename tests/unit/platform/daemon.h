// A small daemon on a thread of its own, which stands for the main thread of the real one.
#ifndef GW_TESTS_PLATFORM_DAEMON_H
#define GW_TESTS_PLATFORM_DAEMON_H

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "protocol/application.h"
#include "tollan.h"
#include "unit/platform/peer.h"

struct Daemon {
    std::atomic<int> result{-1}; // of tollan_module_init
    std::atomic<tollan_ctx *> ctx{nullptr};
    std::atomic<bool> may_loop{true};
    std::atomic<bool> stop{false};
    int fail_registration = 0; // what the registration callback returns
    int registrations = 0;     // how often it was called
    bool ctx_at_registration = false;
    std::uint64_t row_word = 0; // the library's word of the first subscription, after initialisation
    std::thread thread;
};

// What the callbacks saw, one line each, and what they do besides; the hook runs before the line is written.
struct Calls {
    std::mutex lock;
    std::vector<std::string> lines;
    std::function<void(tollan_ctx *)> hook;
};
extern Calls calls;
std::vector<std::string> lines_so_far();

// The rows of the tables, in order: a configuration subtree, an operational one; the points "check", "clear",
// "numbers".
enum { config_row = 0, oper_row = 1 };

void start(Daemon *daemon);
int wait_result(const Daemon &daemon);
// Stops the loop, de-initialises and joins.
void finish(Daemon *daemon);

// The agent's side of hello and registration. `then` is sent in one piece with the answer.
peer::Handle accept_registration(const peer::Handle &listener, proto::Register *registration,
                                 const std::string &then = {});

// Sends a call and reads its answer.
template <typename Record> peer::Message call(const peer::Handle &agent, proto::Op op, const Record &record)
{
    peer::send_message(agent, op, 77, encode(record));
    return peer::read_message(agent);
}
proto::Status call_for_status(const peer::Handle &agent, proto::Op op, const std::string &payload);

proto::Deliver make_delivery(std::uint64_t txid, std::uint32_t index, std::uint16_t row = config_row);

#endif
