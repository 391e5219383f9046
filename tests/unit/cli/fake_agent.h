// An agent in a thread that answers as the test says, and gwcli against it within this process.
#ifndef GW_TESTS_CLI_FAKE_AGENT_H
#define GW_TESTS_CLI_FAKE_AGENT_H

#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "protocol/client.h"
#include "unit/platform/peer.h"

// The bytes that answer a message; none: the agent closes the connection.
using Script = std::function<std::optional<std::string>(const peer::Message &)>;

struct FakeAgent {
    explicit FakeAgent(Script answers);
    ~FakeAgent(); // after its clients have left
    FakeAgent(const FakeAgent &) = delete;
    FakeAgent &operator=(const FakeAgent &) = delete;

    Script script; // runs with the lock held, which run_gwcli() takes before and after
    mutable std::mutex lock;
    peer::Handle listener = peer::listen_here(0);
    std::uint16_t port = 0;
    std::thread thread;
};

// A script: the agent of a gateway with one candidate. Refuses paths that begin with "bad", hangs up at "die".
struct Gateway {
    std::string log;                     // what it was asked
    proto::Tree tree;                    // what it reads
    std::vector<proto::Remark> warnings; // a commit brings one at a time until all are accepted
    std::string refuse_commit;           // why

    std::optional<std::string> operator()(const peer::Message &frame);
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
using Text = const std::string &;
using proto::NodeKind;
using proto::TreeNode;
using proto::ValueType;
inline TreeNode node(NodeKind kind, Text name, Text text = "", ValueType type = {})
{
    return {kind, false, false, type, name, text};
}
inline const auto in = [](Text name) { return node(NodeKind::container, name); };
inline const auto entry = [](Text name) { return node(NodeKind::entry, name); };
inline const auto mark = [](Text name, Text why) { return node(NodeKind::error_mark, name, why); };
inline const auto item = [](Text name, Text text) { return node(NodeKind::item, name, text, ValueType::ipv4); };
inline const auto leaf = [](Text name, Text text, ValueType type = ValueType::buf, bool is_default = false) {
    return TreeNode{NodeKind::leaf, false, is_default, type, name, text};
};
inline const auto key = [](Text name, Text text, ValueType type = ValueType::buf) {
    return TreeNode{NodeKind::leaf, true, false, type, name, text};
};
inline const TreeNode end = {NodeKind::end, false, false, {}, "", ""};

#endif
