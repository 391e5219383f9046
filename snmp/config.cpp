#include "snmp/config.h"

#include <algorithm>
#include <charconv>

namespace snmp {

namespace {

bool is_literal(const std::string &address)
{
    proto::Value value;
    return proto::from_text(proto::ValueType::ipv4, address, &value) ||
           proto::from_text(proto::ValueType::ipv6, address, &value);
}

} // namespace

Config config_of(const proto::Tree &tree)
{
    Config config;
    for (const proto::TreeNode &node : tree.nodes) {
        std::vector<Target> &targets = config.targets;
        if (node.kind == proto::NodeKind::entry) targets.emplace_back();
        if (node.kind != proto::NodeKind::leaf) continue;
        if (node.name == "disable") config.answers = node.text == "false";
        if (targets.empty()) continue;
        if (node.name == "target-address") targets.back().address = node.text;
        if (node.name == "community") targets.back().community = node.text;
        if (node.name == "udp-port") {
            std::from_chars(node.text.data(), node.text.data() + node.text.size(), targets.back().port);
        }
    }
    std::erase_if(config.targets, [](const Target &target) { return !is_literal(target.address); });
    return config;
}

} // namespace snmp
