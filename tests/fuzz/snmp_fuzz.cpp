// What gw-snmp makes objects and traps of: the agent's trees and events, any text in any column, and the file that
// holds its engine.
#include "snmp/columns.h"
#include "snmp/config.h"
#include "snmp/engine.h"
#include "snmp/snapshot.h"
#include "snmp/trap_message.h"
#include "target.h"

using proto::NodeKind;
using proto::ValueType;

namespace {

void check_engine(const std::string &text)
{
    snmp::Engine engine;
    snmp::Engine again;
    if (!snmp::parse_engine(text, &engine)) return;
    require(snmp::parse_engine(snmp::render_engine(engine), &again) && again.id == engine.id);
}

void check_snapshot(const proto::Tree &tree)
{
    const snmp::Snapshot snapshot = snmp::make_snapshot(tree);
    for (const snmp::Object &object : snapshot.objects) {
        require(object.bytes.size() <= 255);
        require(snmp::find_object(snapshot, object.name.data(), object.length) == &object);
    }
}

proto::Tree everywhere(const std::string &text)
{
    proto::Tree tree{
        {{NodeKind::entry, false, false, ValueType::noexists, "ifEntry", ""},
         {NodeKind::leaf, true, false, ValueType::int32, "ifIndex", text},
         {NodeKind::leaf, true, false, ValueType::int32, "ifIndex", "1"}}
    };
    for (const auto columns : {snmp::if_table_columns(), snmp::if_x_table_columns()}) {
        for (const snmp::Column &column : columns.subspan(1))
            tree.nodes.push_back({NodeKind::leaf, false, false, ValueType::buf, column.leaf, text});
    }
    return tree;
}

void check_trap(const proto::Event &event)
{
    for (const snmp::Binding &binding : snmp::translate(event).bindings)
        require(binding.object != nullptr && binding.text.size() <= 255);
}

} // namespace

void check(std::string_view input)
{
    const std::string text(input);
    proto::Tree tree;
    proto::Event event;
    check_engine(text);
    check_snapshot(everywhere(text));
    if (proto::decode(text, &tree)) {
        check_snapshot(tree);
        snmp::config_of(tree);
    }
    if (proto::decode(text, &event)) check_trap(event);
}
