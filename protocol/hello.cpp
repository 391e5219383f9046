#include "protocol/hello.h"

#include "protocol/fields.h"

namespace proto {

constexpr bool known(Role v)
{
    return in_range(v, Role::client, Role::snmp);
}

constexpr bool known(ErrorCode v)
{
    return in_range(v, ErrorCode::malformed, ErrorCode::too_big);
}

template <typename Io, Is<Hello> R> void fields(Io &f, R &r)
{
    io(f, r.version, r.role, r.name, r.pid);
}

template <typename Io, Is<HelloReply> R> void fields(Io &f, R &r)
{
    io(f, r.version, r.agent_version);
}

template <typename Io, Is<Error> R> void fields(Io &f, R &r)
{
    io(f, r.code, r.path, r.text);
}

GW_PROTOCOL_CODEC(Hello)
GW_PROTOCOL_CODEC(HelloReply)
GW_PROTOCOL_CODEC(Error)

} // namespace proto
