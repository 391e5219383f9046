// An agent in a thread that answers each request as the test says, and gwcli against it within this process.
#ifndef GW_TESTS_CLI_FAKE_AGENT_H
#define GW_TESTS_CLI_FAKE_AGENT_H

#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "protocol/client.h"
#include "protocol/frame.h"
#include "protocol/hello.h"

struct Answer {
    proto::Op op = proto::Op::reply;
    std::string payload;
    std::string after;    // bytes sent behind the answer, such as events
    bool silent = false;  // no answer
    bool hang_up = false; // close the connection instead
};

using Script = std::function<Answer(proto::Op, std::string_view payload)>;

template <typename Record> Answer reply(const Record &record)
{
    return {proto::Op::reply, proto::encode(record), "", false, false};
}
Answer refusal(proto::ErrorCode code, const std::string &path, const std::string &text);
std::string event_frame(const proto::Event &event);

struct FakeAgent {
    explicit FakeAgent(Script answers); // the hello is answered by itself
    ~FakeAgent();
    FakeAgent(const FakeAgent &) = delete;
    FakeAgent &operator=(const FakeAgent &) = delete;

    Script script; // runs with the lock held, which run_gwcli() takes before and after
    mutable std::mutex lock;
    int listener = -1;
    std::uint16_t port = 0;
    std::atomic<std::uint16_t> version = proto::version; // said in the answer to the hello
    std::atomic<int> connection{-1};
    std::atomic<bool> stopping = false;
    std::thread thread;
};

struct Ran {
    int status = -1;
    std::string out;
    std::string err;

    bool operator==(const Ran &) const = default;
};
void PrintTo(const Ran &ran, std::ostream *stream);

// Runs gwcli with these arguments and this standard input.
Ran run_gwcli(const FakeAgent &agent, const std::vector<std::string> &arguments, const std::string &input = "");

// Trees, node by node.
template <typename... Nodes> proto::Tree tree_of(const Nodes &...nodes)
{
    return {{nodes...}};
}
proto::TreeNode node(proto::NodeKind kind, const std::string &name = "", const std::string &text = "",
                     proto::ValueType type = proto::ValueType::noexists);
proto::TreeNode key(const std::string &name, const std::string &text, proto::ValueType type = proto::ValueType::buf);
proto::TreeNode by_default(const std::string &name, const std::string &text, proto::ValueType type);

using Text = const std::string &;
using proto::NodeKind;
inline const auto in = [](Text name) { return node(NodeKind::container, name); };
inline const auto entry = [](Text name) { return node(NodeKind::entry, name); };
inline const auto leaf = [](Text name, Text text, proto::ValueType type = proto::ValueType::buf) {
    return node(NodeKind::leaf, name, text, type);
};
inline const auto item = [](Text name, Text text) { return node(NodeKind::item, name, text, proto::ValueType::ipv4); };
inline const auto mark = [](Text name, Text why) { return node(NodeKind::error_mark, name, why); };
inline const auto end = [] { return node(NodeKind::end); };

#endif
