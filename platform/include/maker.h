/*
 * The appliance maker's common library: timer manager, link information, command output, SNMP traps.
 */
#ifndef GW_PLATFORM_MAKER_H
#define GW_PLATFORM_MAKER_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

struct tollan_ctx;

/* A handle for the management library, or null. The two numbers are the library's own and fixed by the caller (4, 3).
 */
void *timer_mgr_create(int kind, void *(*alloc)(size_t), void (*release)(void *), void *user, int level);

/* Only the named fields are meaningful. Callers give LINK_INFO_STORAGE bytes. */
struct LinkInfo {
    char if_name[16];
    char addr[68];        /* IPv4, dotted text */
    uint32_t addr_family; /* 2 IPv4, 10 IPv6, 0 unknown */
    uint8_t library1[1025];
    uint8_t admin_status; /* non-zero: up */
    uint8_t oper_status;  /* non-zero: up */
    uint8_t library2[1];
    uint32_t link_oper; /* interface flags */
};

enum { LINK_INFO_STORAGE = 4096 };

/* 0 when the device is known and the record filled. */
int zel_link_get(const char *device, struct LinkInfo *info);

/* 0 the device exists, 2 it does not (also for ""), other values an error. */
int zel_link_check(const char *device);

/* Runs the command line with the shell, waits, and keeps its standard output, terminated, cut to the size, without the
 * final line break. 0 on success; non-zero when the shell cannot be run or the command fails, with what output there
 * was. */
int zel_execute_output(const char *command, char *output, size_t size);

/* `bindings` pairs of name and value text follow. The second number is always 1. Any thread. */
int kvr_trap_send(struct tollan_ctx *ctx, const char *trap, int one, int bindings, ...);

#ifdef __cplusplus
}
#endif

#endif
