#include <arpa/inet.h>
#include <cstring>

#include "fakes/platform.h"
#include "fakes/record.h"

namespace fakes {

Outcomes outcomes;
std::function<void(const TollanModuleParams &)> on_module_init;
std::map<std::string, confd_value_t> stored;
std::map<std::string, confd_data_cbs> registered;

void reset()
{
    outcomes = {};
    on_module_init = nullptr;
    stored.clear();
    registered.clear();
    taken();
}

confd_value_t text_value(const char *text)
{
    confd_value_t value{};
    value.type = C_BUF;
    value.val.buf.ptr = reinterpret_cast<unsigned char *>(const_cast<char *>(text));
    value.val.buf.size = static_cast<std::uint32_t>(strlen(text));
    return value;
}

confd_value_t ipv4_value(const char *text)
{
    confd_value_t value{};
    value.type = C_IPV4;
    inet_pton(AF_INET, text, &value.val.ip);
    return value;
}

} // namespace fakes

int tollan_module_init(const TollanModuleParams *params, void *unused, tollan_ctx **ctx)
{
    static confd_daemon_ctx daemon{};
    static tollan_ctx module{};
    module.dx = &daemon;
    fakes::record(unused == nullptr ? "tollan_module_init" : "tollan_module_init with a second argument");
    if (fakes::on_module_init) fakes::on_module_init(*params);
    if (fakes::outcomes.module_init == 0 || fakes::outcomes.module_init == 3) *ctx = &module;
    return fakes::outcomes.module_init;
}

void tollan_module_deinit(tollan_ctx * /*ctx*/)
{
    fakes::record("tollan_module_deinit");
}

int tollan_read_val(tollan_ctx * /*ctx*/, const char *path, confd_value_t *value)
{
    fakes::record(std::string("read: ") + path);
    const auto found = fakes::stored.find(path);
    if (found == fakes::stored.end()) return -1;
    *value = found->second;
    return 0;
}

void tollan_release_val(confd_value_t * /*value*/)
{
    fakes::record("release");
}

void *timer_mgr_create(int kind, void *(*)(size_t), void (*)(void *), void * /*user*/, int level)
{
    static char manager;
    fakes::record("timer_mgr_create " + std::to_string(kind) + " " + std::to_string(level));
    return fakes::outcomes.timer_manager != 0 ? &manager : nullptr;
}

int zel_link_check(const char *device)
{
    fakes::record(std::string("check: ") + device);
    return fakes::outcomes.link_check;
}
