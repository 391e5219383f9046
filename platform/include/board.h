/* The appliance maker's board library. */
#ifndef GW_PLATFORM_BOARD_H
#define GW_PLATFORM_BOARD_H

#ifdef __cplusplus
extern "C" {
#endif

/* Board identifier; 1 and 4 carry the 10G PHY. 0 when the appliance does not say. */
int get_board_id(void);

#ifdef __cplusplus
}
#endif

#endif
