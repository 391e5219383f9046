#include "protocol/data.h"

#include "protocol/fields.h"

namespace proto {

constexpr bool known(Database v)
{
    return v == Database::running || v == Database::operational;
}

template <typename Io, Is<CdbStart> R> void fields(Io &f, R &r)
{
    io(f, r.database, r.flags);
}

template <typename Io, Is<CdbPath> R> void fields(Io &f, R &r)
{
    io(f, r.path);
}

template <typename Io, Is<CdbCase> R> void fields(Io &f, R &r)
{
    io(f, r.choice, r.path);
}

template <typename Io, Is<CdbNamespace> R> void fields(Io &f, R &r)
{
    io(f, r.ns);
}

template <typename Io, Is<CdbSet> R> void fields(Io &f, R &r)
{
    io(f, r.path, r.value);
}

template <typename Io, Is<CdbValue> R> void fields(Io &f, R &r)
{
    io(f, r.value);
}

template <typename Io, Is<CdbCount> R> void fields(Io &f, R &r)
{
    io(f, r.count);
}

GW_PROTOCOL_CODEC(CdbStart)
GW_PROTOCOL_CODEC(CdbPath)
GW_PROTOCOL_CODEC(CdbCase)
GW_PROTOCOL_CODEC(CdbNamespace)
GW_PROTOCOL_CODEC(CdbSet)
GW_PROTOCOL_CODEC(CdbValue)
GW_PROTOCOL_CODEC(CdbCount)

} // namespace proto
