// Texts that gw-snmp makes objects of, and the file that holds its engine.
#include <cstdint>
#include <cstdlib>
#include <string>

#include "snmp/columns.h"
#include "snmp/engine.h"
#include "snmp/snapshot.h"

using proto::NodeKind;
using proto::ValueType;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const std::string text(reinterpret_cast<const char *>(data), size);
    snmp::Engine engine;
    snmp::Engine again;
    if (snmp::parse_engine(text, &engine) &&
        (!snmp::parse_engine(snmp::render_engine(engine), &again) || again.id != engine.id)) {
        abort();
    }
    proto::Tree tree{
        {{NodeKind::entry, false, false, ValueType::noexists, "ifEntry", ""},
         {NodeKind::leaf, true, false, ValueType::int32, "ifIndex", text},
         {NodeKind::leaf, true, false, ValueType::int32, "ifIndex", "1"}}
    };
    for (const auto columns : {snmp::if_table_columns(), snmp::if_x_table_columns()}) {
        for (const snmp::Column &column : columns.subspan(1))
            tree.nodes.push_back({NodeKind::leaf, false, false, ValueType::buf, column.leaf, text});
    }
    const snmp::Snapshot snapshot = snmp::make_snapshot(tree);
    for (const snmp::Object &object : snapshot.objects) {
        if (object.bytes.size() > 255 || snmp::find_object(snapshot, object.name.data(), object.length) != &object) {
            abort();
        }
    }
    return 0;
}
