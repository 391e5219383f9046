#include "protocol/client.h"

#include "protocol/fields.h"

namespace proto {

constexpr bool known(Source v)
{
    return in_range(v, Source::running, Source::operational);
}

constexpr bool known(NodeKind v)
{
    return in_range(v, NodeKind::container, NodeKind::error_mark);
}

constexpr bool known(Outcome v)
{
    return in_range(v, Outcome::done, Outcome::nothing_to_do);
}

inline bool known(ValueType v)
{
    return is_value_type(static_cast<std::uint8_t>(v));
}

template <typename Io, Is<Get> R> void fields(Io &f, R &r)
{
    io(f, r.source, r.with_defaults, r.path);
}

template <typename Io, Is<TreeNode> R> void fields(Io &f, R &r)
{
    io(f, r.kind, r.is_key, r.is_default, r.type, r.name, r.text);
}

template <typename Io, Is<Tree> R> void fields(Io &f, R &r)
{
    io(f, r.nodes);
}

template <typename Io, Is<Edit> R> void fields(Io &f, R &r)
{
    io(f, r.remove, r.path);
}

template <typename Io, Is<Load> R> void fields(Io &f, R &r)
{
    io(f, r.replace, r.json);
}

template <typename Io, Is<Change> R> void fields(Io &f, R &r)
{
    io(f, r.op, r.path, r.before, r.after);
}

template <typename Io, Is<Diff> R> void fields(Io &f, R &r)
{
    io(f, r.changes);
}

template <typename Io, Is<Remark> R> void fields(Io &f, R &r)
{
    io(f, r.path, r.text);
}

template <typename Io, Is<Commit> R> void fields(Io &f, R &r)
{
    io(f, r.confirm_seconds, r.comment, r.accepted);
}

template <typename Io, Is<CommitReply> R> void fields(Io &f, R &r)
{
    io(f, r.outcome, r.txid, r.remarks);
}

template <typename Io, Is<Rollback> R> void fields(Io &f, R &r)
{
    io(f, r.number);
}

template <typename Io, Is<RollbackEntry> R> void fields(Io &f, R &r)
{
    io(f, r.number, r.txid, r.time, r.comment);
}

template <typename Io, Is<Rollbacks> R> void fields(Io &f, R &r)
{
    io(f, r.entries);
}

template <typename Io, Is<Complete> R> void fields(Io &f, R &r)
{
    io(f, r.source, r.values, r.words, r.partial);
}

template <typename Io, Is<Candidate> R> void fields(Io &f, R &r)
{
    io(f, r.word, r.help);
}

template <typename Io, Is<Candidates> R> void fields(Io &f, R &r)
{
    io(f, r.list);
}

template <typename Io, Is<Action> R> void fields(Io &f, R &r)
{
    io(f, r.name);
}

template <typename Io, Is<Pairs> R> void fields(Io &f, R &r)
{
    io(f, r.pairs);
}

template <typename Io, Is<Watch> R> void fields(Io &f, R &r)
{
    io(f, r.mask);
}

template <typename Io, Is<Event> R> void fields(Io &f, R &r)
{
    io(f, r.kind, r.time_ms, r.name, r.pairs);
}

GW_PROTOCOL_CODEC(Get)
GW_PROTOCOL_CODEC(Tree)
GW_PROTOCOL_CODEC(Edit)
GW_PROTOCOL_CODEC(Load)
GW_PROTOCOL_CODEC(Diff)
GW_PROTOCOL_CODEC(Commit)
GW_PROTOCOL_CODEC(CommitReply)
GW_PROTOCOL_CODEC(Rollback)
GW_PROTOCOL_CODEC(Rollbacks)
GW_PROTOCOL_CODEC(Complete)
GW_PROTOCOL_CODEC(Candidates)
GW_PROTOCOL_CODEC(Action)
GW_PROTOCOL_CODEC(Pairs)
GW_PROTOCOL_CODEC(Watch)
GW_PROTOCOL_CODEC(Event)

} // namespace proto
