// Files of keyed lines that dnsmasq reads again when it is told to. Main thread.
#ifndef GW_DHCP_SIDE_FILE_H
#define GW_DHCP_SIDE_FILE_H

#include <string_view>

#include "core/base/log.h"

// The key of a line is its whole text before the first comma.
bool has_key(std::string_view line, std::string_view key);

// Replaces the line of `key` by `line`, which goes to the end of the file, or removes it (`line` is then not used);
// tells dnsmasq also when nothing was there to be removed. The file holds the old or the new text at any time, and
// keeps the old one when the new one cannot be written.
void process_dnsmasq_dhcp_file(const char *path, bool delete_conf, const char *key, const char *line);

// Makes dnsmasq read its hosts and options files again; the trace has the given level.
void reload_dnsmasq(int level, TracePoint point);

#endif
