#include <cstdarg>
#include <cstdio>
#include <unistd.h>

#include "fakes/platform.h"
#include "fakes/record.h"

__thread int confd_errno = CONFD_ERR_NOEXISTS;

const char *confd_strerror(int /*code*/)
{
    return "strerror";
}

const char *confd_lasterr(void)
{
    return "lasterr";
}

void confd_trans_seterr(confd_trans_ctx * /*tctx*/, const char *fmt, ...)
{
    char text[512];
    va_list arguments;
    va_start(arguments, fmt);
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): it is; the checker loses sight of it after the array.
    vsnprintf(text, sizeof text, fmt, arguments);
    va_end(arguments);
    fakes::record(std::string("refused: ") + text);
}

int confd_register_data_cb(confd_daemon_ctx * /*dx*/, const confd_data_cbs *cbs)
{
    fakes::record(std::string("provider: ") + cbs->callpoint);
    if (fakes::outcomes.refused_callpoint == cbs->callpoint) return CONFD_ERR;
    fakes::registered[cbs->callpoint] = *cbs;
    return CONFD_OK;
}

int confd_data_reply_not_found(confd_trans_ctx * /*tctx*/)
{
    fakes::record("reply: not found");
    return CONFD_OK;
}

int confd_data_reply_next_key(confd_trans_ctx * /*tctx*/, const confd_value_t *v, int num_vals, long next)
{
    fakes::record("reply: " + std::to_string(v == nullptr ? 0 : num_vals) + " keys, next " + std::to_string(next));
    return CONFD_OK;
}

int confd_data_reply_next_object_tag_value_array(confd_trans_ctx * /*tctx*/, const confd_tag_value_t * /*tvs*/, int n,
                                                 long next)
{
    fakes::record("reply: object of " + std::to_string(n) + ", next " + std::to_string(next));
    return CONFD_OK;
}

int cdb_connect(int /*sock*/, cdb_sock_type type, const sockaddr *srv, int srv_sz)
{
    const auto *to = reinterpret_cast<const sockaddr_in *>(srv);
    fakes::record("cdb_connect " + std::to_string(type) + " " + std::to_string(ntohl(to->sin_addr.s_addr)) + ":" +
                  std::to_string(ntohs(to->sin_port)) + " " + std::to_string(srv_sz));
    return fakes::outcomes.cdb_connect;
}

int cdb_start_session(int /*sock*/, cdb_db_type db)
{
    fakes::record("cdb_start_session " + std::to_string(db));
    return fakes::outcomes.start_session;
}

int cdb_start_session2(int /*sock*/, cdb_db_type db, int flags)
{
    fakes::record("cdb_start_session2 " + std::to_string(db) + " " + std::to_string(flags));
    return fakes::outcomes.start_session;
}

int cdb_end_session(int /*sock*/)
{
    fakes::record("cdb_end_session");
    return CONFD_OK;
}

int cdb_close(int sock)
{
    fakes::record("cdb_close");
    return close(sock);
}
