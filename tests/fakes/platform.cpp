#include "fakes/platform.h"

#include <arpa/inet.h>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>

using namespace fakes;
using std::to_string;

fakes::Outcomes fakes::outcomes;

void fakes::reset()
{
    outcomes = {};
    taken();
}

confd_value_t fakes::text_value(const char *text)
{
    auto *bytes = reinterpret_cast<unsigned char *>(const_cast<char *>(text));
    return {.type = C_BUF, .val = {.buf = {bytes, static_cast<std::uint32_t>(strlen(text))}}};
}

confd_value_t fakes::ipv4_value(const char *text)
{
    return {.type = C_IPV4, .val = {.ip = {inet_addr(text)}}};
}

__thread int confd_errno = CONFD_ERR_NOEXISTS;

const char *confd_strerror(int /*code*/)
{
    return "strerror";
}

const char *confd_lasterr(void)
{
    return "lasterr";
}

int confd_register_data_cb(confd_daemon_ctx * /*dx*/, const confd_data_cbs *cbs)
{
    std::string calls;
    if (cbs->get_elem != nullptr) calls += " elem";
    if (cbs->get_next != nullptr) calls += " next";
    if (cbs->get_object != nullptr) calls += " object";
    if (cbs->get_next_object != nullptr) calls += " next-object";
    if (cbs->find_next_object != nullptr) calls += " find-next";
    const bool refused = outcomes.refused_callpoint == cbs->callpoint;
    return record(std::string("provider: ") + cbs->callpoint + calls, refused ? CONFD_ERR : CONFD_OK);
}

int cdb_connect(int sock, cdb_sock_type type, const sockaddr *srv, int srv_sz)
{
    const auto *to = reinterpret_cast<const sockaddr_in *>(srv);
    return record("cdb_connect " + to_string(type) + " " + to_string(ntohl(to->sin_addr.s_addr)) + ":" +
                      to_string(ntohs(to->sin_port)) + " " + to_string(srv_sz) +
                      (fcntl(sock, F_GETFD) == FD_CLOEXEC ? "" : " inherited by commands"),
                  outcomes.cdb_connect);
}

int cdb_start_session(int /*sock*/, cdb_db_type db)
{
    return record("cdb_start_session " + to_string(db), outcomes.start_session);
}

int cdb_start_session2(int /*sock*/, cdb_db_type db, int flags)
{
    return record("cdb_start_session2 " + to_string(db) + " " + to_string(flags), outcomes.start_session);
}

int cdb_end_session(int /*sock*/)
{
    return record("cdb_end_session");
}

int cdb_close(int sock)
{
    record("cdb_close");
    return close(sock);
}

int tollan_module_init(const TollanModuleParams *params, void *unused, tollan_ctx **ctx)
{
    static confd_daemon_ctx daemon{};
    static tollan_ctx module{};
    module.dx = &daemon;
    record(unused == nullptr ? "tollan_module_init" : "tollan_module_init with a second argument");
    if (outcomes.on_init) outcomes.on_init(*params);
    if (outcomes.module_init == 0 || outcomes.module_init == 3) *ctx = &module;
    return outcomes.module_init;
}

void tollan_module_deinit(tollan_ctx * /*ctx*/)
{
    record("tollan_module_deinit");
}

void tollan_release_val(confd_value_t * /*value*/)
{
    record("release");
}

void *timer_mgr_create(int kind, void *(*)(size_t), void (*)(void *), void * /*user*/, int level)
{
    record("timer_mgr_create " + to_string(kind) + " " + to_string(level));
    return outcomes.timer_manager != 0 ? &outcomes : nullptr;
}

int zel_link_get(const char *device, LinkInfo *info)
{
    record(std::string("link: ") + device);
    if (!outcomes.links.contains(device)) return 1;
    *info = outcomes.links[device];
    return 0;
}

int zel_execute_output(const char *command, char *output, size_t size)
{
    record(std::string("output: ") + command);
    if (!outcomes.outputs.contains(command)) return 1;
    snprintf(output, size, "%s", outcomes.outputs[command].c_str());
    return 0;
}

int kvr_trap_send(tollan_ctx * /*ctx*/, const char *trap, int one, int bindings, ...)
{
    std::string text = "trap " + to_string(one) + " " + trap;
    va_list arguments;
    va_start(arguments, bindings);
    for (int i = 0; i < bindings; i++) {
        const char *name = va_arg(arguments, const char *);
        text += std::string(" ") + name + "=" + va_arg(arguments, const char *);
    }
    va_end(arguments);
    return record(text);
}

int zel_link_check(const char *device)
{
    return record(std::string("check: ") + device, outcomes.link_check);
}
