#include <cstdio>
#include <cstring>
#include <new>

#include "core/base/assertion.h"
#include "core/base/log.h"
#include "dhcp/dhcp_lists.h"
#include "dhcp/side_file.h"

namespace {

constexpr const char *module_name = "dhcp_config";
constexpr const char *options_path = "/tmp/dnsmasq.dhcp_opts";

enum : std::uint32_t {
    TAG_RAW = 0x1bb6fada,
    TAG_TEXT = 0x1521542e,
    TAG_NUMBER = 0x30d6f2e1,
    TAG_ADDRESSES = 0x61fa2cdb
};

struct OptionValue {
    const char *text = nullptr; // the agent's or one of the two below; null: none given, the option goes
    std::size_t length = 0;
    bool quoted = false;
    char number[16] = "";
    std::unique_ptr<char[]> addresses;
};

void take_text(OptionValue &option, const confd_value_t &value)
{
    assert_model(value.type == C_BUF, module_name, "(&cur_val_p->v)->type == C_BUF");
    option.text = reinterpret_cast<const char *>(value.val.buf.ptr);
    option.length = value.val.buf.size;
}

void take_number(OptionValue &option, const confd_value_t &value)
{
    assert_model(value.type == C_INT32, module_name, "(&cur_val_p->v)->type == C_INT32");
    snprintf(option.number, sizeof option.number, "%d", value.val.i32);
    option.text = option.number;
    option.length = strlen(option.number);
}

// "a,b,c"; empty for an empty list.
std::unique_ptr<char[]> join_addresses(const confd_list &list)
{
    constexpr std::size_t element_size = INET_ADDRSTRLEN + 1; // with its comma
    std::unique_ptr<char[]> joined(new (std::nothrow) char[list.size * element_size + 1]);
    if (!joined) return joined;
    char *end = joined.get();
    for (std::uint32_t i = 0; i < list.size; ++i) {
        char address[INET_ADDRSTRLEN] = "";
        if (format_ipv4_value(list.ptr[i], address) == 0) continue;
        end += snprintf(end, element_size, "%s,", address);
    }
    if (end > joined.get()) --end;
    *end = '\0';
    return joined;
}

void take_addresses(OptionValue &option, const confd_value_t &value)
{
    if (value.type != C_LIST) return;
    option.addresses = join_addresses(value.val.list);
    option.text = option.addresses.get();
    option.length = option.text == nullptr ? 0 : strlen(option.text);
}

// The last pair decides the text; once quoted, it stays so.
void take_pair(OptionValue &option, const confd_tag_value_t &pair)
{
    switch (pair.tag.tag) {
    case TAG_RAW:
        take_text(option, pair.v);
        break;
    case TAG_TEXT:
        take_text(option, pair.v);
        option.quoted = true;
        break;
    case TAG_NUMBER:
        take_number(option, pair.v);
        break;
    case TAG_ADDRESSES:
        take_addresses(option, pair.v);
        break;
    default:
        break;
    }
}

std::unique_ptr<char[]> option_line(int code, const char *value, std::size_t length, bool quoted)
{
    const std::size_t size = length + 16; // code, comma, quotes and NUL
    std::unique_ptr<char[]> line(new (std::nothrow) char[size]);
    if (line) snprintf(line.get(), size, quoted ? "%d,\"%.*s\"" : "%d,%.*s", code, static_cast<int>(length), value);
    return line;
}

} // namespace

void write_option(std::uint8_t code, bool delete_opt, const char *value, std::size_t length, bool quoted)
{
    log_trace(LOG_DEBUG, "write_option", "option_tag: %d, delete_opt: %d, val: %.*s", code,
              static_cast<int>(delete_opt), static_cast<int>(value == nullptr ? 6 : length),
              value == nullptr ? "(null)" : value);
    char key[4];
    std::unique_ptr<char[]> line;
    snprintf(key, sizeof key, "%d", code);
    if (!delete_opt) {
        line = option_line(code, value, length, quoted);
        if (!line) return;
        log_trace(LOG_DEBUG, "write_option", "option_conf: %s", line.get());
    }
    process_dnsmasq_dhcp_file(options_path, delete_opt, key, line.get());
}

int tarvo_config_dhcp_options(tollan_change_ctx * /*ctx*/, int /*op*/, int /*num_keys*/, confd_value_t *keys,
                              std::uint16_t num_values, confd_tag_value_t *values)
{
    assert_model(keys->type == C_UINT8, module_name, "(key_p)->type == C_UINT8");
    const std::uint8_t code = keys->val.u8;
    log_trace(LOG_DEBUG, "tarvo_config_dhcp_options", "key: %d", code);
    OptionValue option;
    for (int i = 0; i < num_values; ++i) {
        log_pair("tarvo_config_dhcp_options", values[i]);
        take_pair(option, values[i]);
    }
    write_option(code, option.text == nullptr, option.text, option.length, option.quoted);
    return CONFD_OK;
}
