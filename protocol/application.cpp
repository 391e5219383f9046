#include "protocol/application.h"

#include "protocol/fields.h"

namespace proto {

constexpr bool known(DataCall v)
{
    return in_range(v, DataCall::get_elem, DataCall::find_next_object);
}

constexpr bool known(DataKind v)
{
    return in_range(v, DataKind::not_found, DataKind::failed);
}

template <typename Io, Is<Subscription> R> void fields(Io &f, R &r)
{
    io(f, r.path, r.ns, r.priority, r.flags, r.oper);
}

template <typename Io, Is<Callpoint> R> void fields(Io &f, R &r)
{
    io(f, r.name, r.calls);
}

template <typename Io, Is<Register> R> void fields(Io &f, R &r)
{
    io(f, r.app, r.instance, r.last_txid, r.last_done, r.subscriptions, r.validation_points, r.action_points,
       r.callpoints);
}

template <typename Io, Is<TagName> R> void fields(Io &f, R &r)
{
    io(f, r.hash, r.name);
}

template <typename Io, Is<RegisterReply> R> void fields(Io &f, R &r)
{
    io(f, r.tags, r.namespaces);
}

template <typename Io, Is<Notify> R> void fields(Io &f, R &r)
{
    io(f, r.values);
}

template <typename Io, Is<Trap> R> void fields(Io &f, R &r)
{
    io(f, r.name, r.bindings);
}

template <typename Io, Is<Deliver> R> void fields(Io &f, R &r)
{
    io(f, r.txid, r.index, r.total, r.row, r.operation, r.keys, r.values);
}

template <typename Io, Is<Status> R> void fields(Io &f, R &r)
{
    io(f, r.status, r.text, r.values);
}

template <typename Io, Is<CallValidate> R> void fields(Io &f, R &r)
{
    io(f, r.point, r.path, r.value);
}

template <typename Io, Is<CallAction> R> void fields(Io &f, R &r)
{
    io(f, r.point, r.path, r.values);
}

template <typename Io, Is<CallData> R> void fields(Io &f, R &r)
{
    io(f, r.callpoint, r.call, r.path, r.next, r.keys, r.rows, r.objects);
}

template <typename Io, Is<DataReply> R> void fields(Io &f, R &r)
{
    io(f, r.kind, r.value, r.next, r.keys, r.values, r.text);
}

template <typename Io, Is<DataReplies> R> void fields(Io &f, R &r)
{
    io(f, r.list);
}

GW_PROTOCOL_CODEC(Register)
GW_PROTOCOL_CODEC(RegisterReply)
GW_PROTOCOL_CODEC(Notify)
GW_PROTOCOL_CODEC(Trap)
GW_PROTOCOL_CODEC(Deliver)
GW_PROTOCOL_CODEC(Status)
GW_PROTOCOL_CODEC(CallValidate)
GW_PROTOCOL_CODEC(CallAction)
GW_PROTOCOL_CODEC(CallData)
GW_PROTOCOL_CODEC(DataReplies)

std::string encode(const DataReply &record)
{
    return encode_record(record);
}

} // namespace proto
