/*
 * The management agent's C interface as the daemon uses it: values, keypaths, data callbacks and their replies, reads
 * of the configuration and operational databases.
 *
 * Addresses are in network byte order, everything else in host byte order. Functions return CONFD_OK or CONFD_ERR
 * unless they say otherwise; after CONFD_ERR confd_errno holds a CONFD_ERR_* number and confd_lasterr() its text, both
 * per thread. Every function may be called from any thread, but a socket belongs to one thread at a time.
 */
#ifndef GW_PLATFORM_CONFD_H
#define GW_PLATFORM_CONFD_H

#include <netinet/in.h>
#include <stddef.h>
#include <stdint.h>
#include <sys/socket.h>

#ifdef __cplusplus
extern "C" {
#endif

enum { CONFD_OK = 0, CONFD_ERR = -1, CONFD_VALIDATION_WARN = -3 };

/* Numbers below 64 are fixed by the programs that compare them. */
enum confd_vtype {
    C_NOEXISTS = 0,
    C_STR = 4, /* NUL-terminated, of the caller */
    C_BUF = 5, /* pointer and size; what the agent delivers has a NUL after the last byte */
    C_INT32 = 8,
    C_UINT16 = 11,
    C_UINT32 = 12,
    C_UINT64 = 13,
    C_IPV4 = 15,
    C_IPV6 = 16,
    C_BOOL = 17,
    C_ENUM_VALUE = 28,
    C_XMLBEGIN = 32,
    C_XMLEND = 33,
    C_BINARY = 39,
    C_XMLTAG = 64,
    C_INT8 = 65,
    C_INT16 = 66,
    C_INT64 = 67,
    C_UINT8 = 68,
    C_LIST = 69,
    C_IPV4PREFIX = 70,
    C_DURATION = 71
};

struct confd_value;

struct confd_buf {
    unsigned char *ptr;
    uint32_t size; /* without the NUL */
};

struct confd_list {
    struct confd_value *ptr;
    uint32_t size;
};

struct confd_xmltag {
    uint32_t tag;
    uint32_t ns;
};

struct confd_ipv4_prefix {
    struct in_addr ip;
    uint8_t len;
};

struct confd_duration {
    uint32_t years, months, days, hours, mins, secs, micros;
};

/* 40 bytes, so that a tag and its value take 48. */
typedef struct confd_value {
    enum confd_vtype type;
    union {
        const char *s;
        struct confd_buf buf; /* C_BUF, C_BINARY */
        int8_t i8;
        int16_t i16;
        int32_t i32;
        int64_t i64;
        uint8_t u8;
        uint16_t u16;
        uint32_t u32;
        uint64_t u64;
        int boolean;
        int32_t enumvalue;
        struct in_addr ip;
        struct in6_addr ip6;
        struct confd_ipv4_prefix ipv4prefix;
        struct confd_xmltag xmltag; /* C_XMLTAG, C_XMLBEGIN, C_XMLEND */
        struct confd_list list;
        struct confd_duration duration;
        uint64_t words[4];
    } val;
} confd_value_t;

typedef struct confd_tag_value {
    struct confd_xmltag tag; /* ns 0: the parent's */
    confd_value_t v;
} confd_tag_value_t;

enum { CONFD_MAX_DEPTH = 20, CONFD_MAX_KEYS = 9 };

/* Element 0 is the innermost: C_XMLTAG for a node, or the keys of a list entry in schema order, ended by C_NOEXISTS. */
typedef struct confd_hkeypath {
    confd_value_t v[CONFD_MAX_DEPTH][CONFD_MAX_KEYS];
    int len;
} confd_hkeypath_t;

/* The text form "/a/b{key}" of a path, cut to size - 1 characters. Returns its whole length. */
int confd_pp_kpath(char *buf, int size, const confd_hkeypath_t *path);

/* The name behind a tag, "?" when unknown; never null, kept for life. */
const char *confd_hash2str(uint32_t hash);

/* ---- errors */

extern __thread int confd_errno;
const char *confd_strerror(int code);
const char *confd_lasterr(void);

enum {
    CONFD_ERR_NOEXISTS = 1, /* no such value, entry or node */
    CONFD_ERR_BADPATH = 2,
    CONFD_ERR_BADTYPE = 3,
    CONFD_ERR_OS = 4, /* the connection failed; the text has the cause */
    CONFD_ERR_PROTOCOL = 5,
    CONFD_ERR_NOSESSION = 6,
    CONFD_ERR_USAGE = 7, /* e.g. a second reply */
    CONFD_ERR_REFUSED = 8
};

/* ---- validation, actions, data callbacks */

struct confd_daemon_ctx {
    void *owner; /* first word: the module handle of the management library */
};

struct confd_trans_ctx {
    struct confd_daemon_ctx *dx;
};

struct confd_user_info {
    struct confd_daemon_ctx *dx;
};

/* The text of a refusal, warning or failure of the callback that runs now; the last one counts. */
void confd_trans_seterr(struct confd_trans_ctx *tctx, const char *fmt, ...) __attribute__((format(printf, 2, 3)));

struct confd_valpoint_cb {
    char valpoint[256];
    int (*validate)(struct confd_trans_ctx *tctx, confd_hkeypath_t *kp, confd_value_t *newval);
    void *cb_opaque;
};

struct confd_action_cbs {
    char actionpoint[256];
    int (*init)(struct confd_user_info *uinfo);
    int (*abort)(struct confd_user_info *uinfo);
    int (*action)(struct confd_user_info *uinfo, struct confd_xmltag *name, confd_hkeypath_t *kp,
                  confd_tag_value_t *params, int nparams);
    int (*command)(struct confd_user_info *uinfo, char *path, int argc, char **argv);
    int (*completion)(struct confd_user_info *uinfo, int cli_style, char *token);
    void *cb_opaque;
};

/* Callbacks answer with exactly one confd_data_reply_* call and return CONFD_OK, or CONFD_ERR without one. Null ones
 * are never called. Only the named ones exist here; the rest of the record is room that stays zero. */
struct confd_data_cbs {
    char callpoint[256];
    int (*get_elem)(struct confd_trans_ctx *tctx, confd_hkeypath_t *kp);
    int (*get_next)(struct confd_trans_ctx *tctx, confd_hkeypath_t *kp, long next);
    int (*get_object)(struct confd_trans_ctx *tctx, confd_hkeypath_t *kp);
    int (*get_next_object)(struct confd_trans_ctx *tctx, confd_hkeypath_t *kp, long next);
    int (*find_next_object)(struct confd_trans_ctx *tctx, confd_hkeypath_t *kp, int type, confd_value_t *inkeys, int n);
    void *reserved[14];
};

int confd_register_data_cb(struct confd_daemon_ctx *dx, const struct confd_data_cbs *cbs);

int confd_data_reply_value(struct confd_trans_ctx *tctx, const confd_value_t *v);
int confd_data_reply_not_found(struct confd_trans_ctx *tctx);
int confd_data_reply_tag_value_array(struct confd_trans_ctx *tctx, const confd_tag_value_t *tvs, int n);
/* A null v ends the list. */
int confd_data_reply_next_key(struct confd_trans_ctx *tctx, const confd_value_t *v, int num_vals, long next);
int confd_data_reply_next_object_tag_value_array(struct confd_trans_ctx *tctx, const confd_tag_value_t *tvs, int n,
                                                 long next);
/* Only the empty array that ends a list; objects are answered as tag-value arrays. */
int confd_data_reply_next_object_array(struct confd_trans_ctx *tctx, const confd_value_t *v, int n, long next);

/* ---- databases: a session is one immutable snapshot */

enum cdb_sock_type { CDB_READ_SOCKET = 1, CDB_DATA_SOCKET = 2 };
enum cdb_db_type { CDB_RUNNING = 1, CDB_OPERATIONAL = 3 };
enum cdb_iter_op { MOP_CREATED = 1, MOP_DELETED = 2, MOP_MODIFIED = 3, MOP_VALUE_SET = 4 };

/* Accepted, never waited for. Both pairs that callers use make 5. */
enum { CDB_LOCK_WAIT = 1, CDB_LOCK_REQUEST = 4, CDB_LOCK_SESSION = 1, CDB_LOCK_PARTIAL = 4 };

/* Sets close-on-exec. Never closes the descriptor, also not on failure. */
int cdb_connect(int sock, enum cdb_sock_type type, const struct sockaddr *srv, int srv_sz);
/* Both reconnect once, in place, when the peer has gone since cdb_connect. */
int cdb_start_session(int sock, enum cdb_db_type db);
int cdb_start_session2(int sock, enum cdb_db_type db, int flags);
int cdb_end_session(int sock);
/* Closes the descriptor as well. */
int cdb_close(int sock);
int cdb_set_namespace(int sock, uint32_t hashed_ns);

/* Paths: a printf format; steps split at "/" outside braces; keys in {}, quoted or not; [n] the position from 0; an
 * optional module prefix. Without a leading "/" relative to cdb_cd, else to the root of the namespace that was set. */
int cdb_cd(int sock, const char *fmt, ...) __attribute__((format(printf, 2, 3)));
int cdb_exists(int sock, const char *fmt, ...) __attribute__((format(printf, 2, 3)));        /* 1, 0 or CONFD_ERR */
int cdb_num_instances(int sock, const char *fmt, ...) __attribute__((format(printf, 2, 3))); /* count or CONFD_ERR */
int cdb_get_ipv4(int sock, struct in_addr *rval, const char *fmt, ...) __attribute__((format(printf, 3, 4)));
int cdb_get_ipv4prefix(int sock, struct confd_ipv4_prefix *rval, const char *fmt, ...)
    __attribute__((format(printf, 3, 4)));
int cdb_get_u_int16(int sock, uint16_t *rval, const char *fmt, ...) __attribute__((format(printf, 3, 4)));
int cdb_get_enum_value(int sock, int32_t *rval, const char *fmt, ...) __attribute__((format(printf, 3, 4)));
/* The chosen case as a C_XMLTAG named like it. */
int cdb_get_case(int sock, const char *choice, confd_value_t *rcase, const char *fmt, ...)
    __attribute__((format(printf, 4, 5)));
int cdb_set_elem(int sock, const confd_value_t *val, const char *fmt, ...) __attribute__((format(printf, 3, 4)));

#ifdef __cplusplus
}
#endif

#endif
