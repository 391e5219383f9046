#include "core/base/globals.h"

std::atomic<TarvoDaemon *> g_tarvod_p{nullptr};

Logger g_logger{};
Logger *g_logger_p = nullptr;
const char *const g_progname = "TARVOD";

char click_routing_prefix[26] = "/click/integrated_router/";
std::uint8_t _router_standalone_mode = 0;

std::atomic<std::int32_t> ntp_full_debug{0};

std::atomic<std::int32_t> g_gig_media_type{1};
std::uint8_t passthrough_enabled = 0;
std::atomic<std::uint8_t> snmp_enable{0};
std::atomic<std::uint8_t> snmp_trap_enable{0};
