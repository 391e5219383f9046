#include "pat/pat_table.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string_view>
#include <unistd.h>

#include "core/base/assertion.h"
#include "core/base/command_runner.h"
#include "core/base/globals.h"
#include "core/base/handles.h"
#include "core/base/log.h"
#include "core/base/module_handle.h"
#include "core/base/tag_values.h"

PortMapEntry pat_infos[pat_table_size];

namespace {

constexpr const char *module_name = "pat";
constexpr const char *listing_path = "/pat.txt";
constexpr int line_size = 60; // a longer line is read as several

enum : std::uint32_t {
    TAG_PORT = 0x009e8010,
    TAG_PROTOCOL = 0x716c0116,
    TAG_DEST_ADDRESS = 0x4bd61198,
    TAG_DEST_PORT = 0x3ccfd03d,
    TAG_HITS = 0x0ffc3f2a
};

std::uint8_t list_size;   // mappings of the listing that is walked
std::uint32_t read_count; // mappings that pat_infos holds; other readers than the walk refresh them too

// The next token of `rest`, which then begins behind it; empty when there is none.
std::string_view next_token(std::string_view &rest)
{
    rest.remove_prefix(std::min(rest.find_first_not_of(' '), rest.size()));
    const std::string_view token = rest.substr(0, rest.find(' '));
    rest.remove_prefix(token.size());
    return token;
}

// Decimal, 0 when it is none; what follows the number, such as the line break, does not matter.
void take_number(std::string_view &rest, std::uint32_t &field)
{
    const std::string_view token = next_token(rest);
    if (!token.empty()) field = static_cast<std::uint32_t>(strtol(token.data(), nullptr, 10));
}

template <std::size_t size> void take_text(std::string_view &rest, char (&field)[size])
{
    const std::string_view token = next_token(rest);
    if (token.empty()) return;
    field[token.copy(field, size - 1)] = '\0';
}

bool read_chunk(const File &file, char (&line)[line_size])
{
    return fgets(line, sizeof line, file.get()) != nullptr;
}

int parse_listing(const File &file)
{
    char line[line_size] = "";
    int count = 0;
    read_chunk(file, line); // the header
    while (count < pat_table_size - 1 && read_chunk(file, line)) {
        ++count;
        parse_line(static_cast<std::uint8_t>(count), line);
        log_trace(LOG_DEBUG, "read_pat_file", "entry %d = %s", count, line);
    }
    return count;
}

std::optional<confd_value_t> leaf_of(const PortMapEntry &mapping, std::uint32_t tag)
{
    switch (tag) {
    case TAG_PORT:
        return uint32_value(mapping.port);
    case TAG_PROTOCOL:
        return text_value(mapping.protocol);
    case TAG_DEST_ADDRESS:
        return text_value(mapping.dest_address);
    case TAG_DEST_PORT:
        return uint32_value(mapping.dest_port);
    case TAG_HITS:
        return uint32_value(mapping.hits);
    default:
        return std::nullopt;
    }
}

} // namespace

void parse_line(std::uint8_t index, const char *line)
{
    PortMapEntry &mapping = pat_infos[index];
    std::string_view rest = line;
    take_number(rest, mapping.port);
    take_text(rest, mapping.protocol);
    take_text(rest, mapping.dest_address);
    take_number(rest, mapping.dest_port);
    take_number(rest, mapping.hits);
    log_trace(LOG_DEBUG, "parse_line", "port = %d, proto = %s, dest ip = %s, dest port = %d, nhits = %d",
              static_cast<int>(mapping.port), mapping.protocol, mapping.dest_address,
              static_cast<int>(mapping.dest_port), static_cast<int>(mapping.hits));
}

int read_pat_file()
{
    read_count = 0;
    File file(fopen(listing_path, "re"));
    if (!file) {
        log_trace(LOG_DEBUG, "read_pat_file", "pat file does not exist");
        return 0;
    }
    read_count = static_cast<std::uint32_t>(parse_listing(file));
    file.reset();
    unlink(listing_path);
    return static_cast<int>(read_count);
}

int get_pat_info()
{
    char command[128];
    log_trace(LOG_DEBUG, "get_pat_info", "get_pat_info ");
    snprintf(command, sizeof command, "cat %swan0_pf/mapped_ports > %s", click_routing_prefix, listing_path);
    log_trace(LOG_DEBUG, "get_pat_info", "cmd  %s ", command);
    run_shell(command);
    return read_pat_file();
}

int tarvo_show_pat_get_next(confd_trans_ctx *tctx, confd_hkeypath_t * /*kp*/, long next)
{
    if (!module_is_ready(module_handle(tctx))) {
        confd_data_reply_next_object_array(tctx, nullptr, 0, -1);
        return CONFD_OK;
    }
    constexpr const char *name = "tarvo_show_pat_get_next";
    log_trace(LOG_DEBUG, name, "tarvo_show_pat_get_next next =  %d ", static_cast<int>(next));
    if (next == -1) {
        list_size = static_cast<std::uint8_t>(get_pat_info());
        log_trace(LOG_DEBUG, name, "list_size  %d ", list_size);
        next = 0;
    }
    if (next == list_size) {
        log_trace(LOG_DEBUG, name, "list_size  %d ", list_size);
        log_trace(LOG_DEBUG, name, "tarvo_show_pat_get_next No next element");
        confd_data_reply_next_key(tctx, nullptr, 0, -1);
        return CONFD_OK;
    }
    const confd_value_t key = uint32_value(static_cast<std::uint32_t>(next));
    log_trace(LOG_DEBUG, name, "after setting tag ");
    if (confd_data_reply_next_key(tctx, &key, 1, next + 1) != CONFD_OK) {
        log_trace(LOG_ERR, name, "Failed to send confd_data_reply_next_key - %s (%d) : %s", confd_strerror(confd_errno),
                  confd_errno, confd_lasterr());
    }
    return CONFD_OK;
}

int tarvo_show_pat_get_elem(confd_trans_ctx *tctx, confd_hkeypath_t *kp)
{
    if (!module_is_ready(module_handle(tctx))) {
        log_trace(LOG_ERR, "tarvo_show_pat_get_elem", "show pat - get elem not up yet\n");
        return reply_not_found(tctx);
    }
    const confd_value_t &key = kp->v[1][0];
    const confd_value_t &leaf = kp->v[0][0];
    assert_model(key.type == C_UINT32, module_name, "(&keypath_p->v[1][0])->type == C_UINT32");
    assert_model(leaf.type == C_XMLTAG, module_name, "(&(keypath_p->v[0][0]))->type == C_XMLTAG");
    if (key.val.u32 >= read_count) return reply_not_found(tctx);
    const auto value = leaf_of(pat_infos[key.val.u32 + 1], leaf.val.xmltag.tag);
    if (!value) return CONFD_ERR;
    confd_data_reply_value(tctx, &*value);
    return CONFD_OK;
}
