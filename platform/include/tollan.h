/*
 * The management library: one call registers a daemon's subscriptions, validation points, actions and data providers
 * with the management agent and delivers everything on the daemon's event loop.
 */
#ifndef GW_PLATFORM_TOLLAN_H
#define GW_PLATFORM_TOLLAN_H

#include <stddef.h>
#include <stdint.h>

#include "confd.h"

#ifdef __cplusplus
extern "C" {
#endif

struct event_base;

/* The module handle. */
struct tollan_ctx {
    uint64_t ready; /* non-zero from the end of registration to de-initialisation */
    uint8_t reserved[104];
    struct confd_daemon_ctx *dx; /* offset 112; its first word points back to this record */
};

/* What a subscription handler is called with besides the change itself. */
struct tollan_change_ctx {
    struct tollan_ctx *handle; /* first word, for tollan_read_val */
};

/* op: enum cdb_iter_op. keys: of the changed entry, in schema order. values: the new values, text as C_BUF; valid until
 * the handler returns. */
typedef int (*tollan_handler)(struct tollan_change_ctx *ctx, int op, int num_keys, confd_value_t *keys,
                              uint16_t num_values, confd_tag_value_t *values);

enum {
    TOLLAN_ENTRY_SIZE = 184,
    TOLLAN_WANT_VALUES = 0x06, /* flags: deliver the changed leaves */
    TOLLAN_OPER_DATA = 0x10    /* oper: the subtree is operational data */
};

/* The library owns the first word of each entry. The words around ns_hash are not aligned, hence the byte arrays. An
 * entry with an empty path ends the table. */
struct tollan_subscription {
    uint64_t library;
    char path[128];
    tollan_handler handler;
    uint8_t reserved1[8];
    uint32_t ns_hash;
    uint8_t reserved2[8];
    uint8_t priority;
    uint8_t flags;
    uint8_t oper;
    uint8_t reserved3[17];
};

struct TollanModuleParams {
    void *user;
    struct tollan_subscription *subscriptions;
    struct confd_valpoint_cb *validation_points;
    struct confd_action_cbs *action_points;
    void *unused1[3];
    int (*register_data)(struct tollan_ctx *ctx);
    void *unused2[2];
    struct event_base *evbase;
    void *timer_mgr;
    uint8_t byte96;
    uint8_t zero97[7];
    uint32_t word104;
    uint32_t zero108;
};

/* Tries once: 0 registered; 1 when the agent does not answer within 2 s, refuses, or register_data failed. *ctx is set
 * on success, before register_data is called. Nothing is delivered before the loop runs. When the agent is lost later,
 * the library reconnects by itself (1, 2, 4 ... 30 s) and registers again. */
int tollan_module_init(const struct TollanModuleParams *params, void *unused, struct tollan_ctx **ctx);
void tollan_module_deinit(struct tollan_ctx *ctx);

/* One value of the running configuration, from a fresh snapshot; waits at most 10 s. 0 on success, the caller then
 * calls tollan_release_val. Any thread. */
int tollan_read_val(struct tollan_ctx *ctx, const char *path, confd_value_t *value);
void tollan_release_val(confd_value_t *value);

/* Any thread. 0 when it was handed over. */
int tollan_event_send_notification(struct tollan_ctx *ctx, const confd_tag_value_t *values, int n);

#ifdef __cplusplus
}
#endif

#endif
