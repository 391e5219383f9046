// The port mappings that are active in the data plane, and their data provider. Main thread.
#ifndef GW_PAT_PAT_TABLE_H
#define GW_PAT_PAT_TABLE_H

#include <cstdint>

#include "confd.h"

// Texts are cut to the field.
struct PortMapEntry {
    std::uint32_t port; // on the WAN side
    std::uint32_t dest_port;
    std::uint32_t hits;
    char protocol[8];
    char dest_address[16];
};
static_assert(sizeof(PortMapEntry) == 36);

inline constexpr int pat_table_size = 16; // record 0 is not used

// Record k is the k-th mapping of the data plane's table; those beyond the last count hold what was there before.
extern PortMapEntry pat_infos[pat_table_size];

// Reads the data plane's table into pat_infos; returns the number of mappings that it holds, at most 15: what comes
// after them is left out.
int get_pat_info();

// The second half of get_pat_info(): parses /pat.txt, which is deleted. 0 when there is none.
int read_pat_file();

// Splits "port protocol address port hits" at blanks into record `index`; a field whose token is missing stays as it
// was. Pure but for the trace.
void parse_line(std::uint8_t index, const char *line);

int tarvo_show_pat_get_elem(confd_trans_ctx *tctx, confd_hkeypath_t *kp);
int tarvo_show_pat_get_next(confd_trans_ctx *tctx, confd_hkeypath_t *kp, long next);

#endif
