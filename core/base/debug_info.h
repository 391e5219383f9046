// The debug control file: lines of key:value that switch diagnostics on without a rebuild.
#ifndef GW_CORE_BASE_DEBUG_INFO_H
#define GW_CORE_BASE_DEBUG_INFO_H

#include <string_view>

// Reads /flash/.tarvo_debug.info once and applies it.
void read_debug_info();

struct DebugCommand {
    char key[16];
    char value[128];
};

// Takes the next command off `text`. False at its end, and at a key or value that does not fit: what follows such a
// line is not read.
bool next_debug_command(std::string_view &text, DebugCommand &command);

#endif
